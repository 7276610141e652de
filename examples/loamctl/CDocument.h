// One document in memory: its bytes as they lie in the file, and its text in UTF-16.
//
// All decoding happens here. UTF-8 is tried first; what isn't UTF-8 is in the charset that
// CharsetGuess.h tells. What is no text, or in no charset known here, is told apart and given a
// reason in words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "marl/amortizedmemblock.h"

class CByteTable;
class CCharset;
class CFileSpec;
struct CharsetGuess;

/// Keeps its buffers from one file to the next, so that a walk over many allocates for the largest
/// only.
class CDocument
{
public:
    enum class Kind
    {
        kEmpty,
        kUTF8,
        kUTF8WithMark,
        kUTF16LE,
        kUTF16BE,
        kOtherCharset,
        kBinary,          ///< no text in any charset
        kUnknownCharset,  ///< perhaps text, but malformed as what it should be
        kTooLarge,        ///< not read
    };

    /// Larger files are not read: a document is held in memory, up to three times its size.
    static constexpr long long kSizeLimit = 512LL << 20;

    CDocument() = default;
    CDocument(CDocument const&) = delete;
    CDocument& operator=(CDocument const&) = delete;
    ~CDocument();

    /// Reads and decodes a regular file. Throws what `CFile` throws, and `CInterrupted`.
    void Read(CFileSpec const& spec);
    /// Takes the bytes of a file that were kept elsewhere, and decodes them.
    void Read(std::string_view bytes);

    Kind GetKind() const { return mKind; }

    bool IsText() const { return mKind < Kind::kBinary; }

    /// Why it is no text, for people; empty for a text.
    std::string const& GetReason() const { return mReason; }

    /// Bytes in the file.
    long long GetSize() const { return mSize; }

    /// The file's bytes, as far as they were read: all of them if it is a text.
    std::string_view GetBytes() const { return Bytes(); }

    /// The text, without a byte-order mark and without a lone surrogate; empty if it is none. That
    /// of ASCII is made when it is first asked for: who only looks at the bytes has no use for it.
    std::u16string_view GetText() const;

    /// The bytes are the text, unit by unit.
    bool IsASCII() const { return mIsASCII; }

    /// A short name for people and for JSON: "UTF-8", "windows-1252", "binary".
    std::string GetKindName() const;

    /// Where the text begins in the file: 0, or behind the byte-order mark of UTF-8 or UTF-16.
    int GetMarkSize() const { return mMarkSize; }

    /// The text is in neither UTF-8 nor UTF-16, so that places in it are counted in the text as
    /// UTF-8 and not in the file.
    bool IsConverted() const { return mKind == Kind::kOtherCharset; }

    bool IsUTF16() const { return mKind == Kind::kUTF16LE || mKind == Kind::kUTF16BE; }

private:
    void Forget();
    bool ReadBytes(CFileSpec const& spec);

    std::string_view Bytes() const { return {mBytes.data(), static_cast<std::size_t>(mSize)}; }

    void Decode();
    bool RefuseNullByte();
    bool TryUTF8();
    void DecodeGuessed();
    void RefuseUTF8();
    bool ConvertUTF8(std::string_view bytes) const;
    void DecodeUTF16(bool bigEndian);
    void DecodeOther(CharsetGuess const& guess);
    bool DecodeByTable(CByteTable const& table);
    std::size_t DecodeInSteps(CCharset const& charset, std::size_t stepSize);
    void Refuse(Kind kind, std::string reason);
    void NeedUnits(long long count);

    amortizedmemblock mBytes{65536, 1.5F, true};
    long long mSize = 0;
    char16_t* mUnits = nullptr;  // owned, from malloc, as CUTFConverter wants it
    int mCapacity = 0;           // of mUnits
    std::u16string mOther;       // the text of another charset than UTF-8 and UTF-16
    bool mIsASCII = false;
    mutable std::u16string_view
        mText;  // of mUnits or mOther; of ASCII, empty until it is asked for
    int mMarkSize = 0;
    Kind mKind = Kind::kEmpty;
    std::string mCharset;  // the other one
    std::string mReason;
};

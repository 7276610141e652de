#include "marl/basic_binstream.h"

#include "marl/HierarchicalException.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr unsigned long kLengthSize = 4;

enum Context
{
    kReading = 1,
    kWriting = 2,
    kSeeking = 3
};

[[noreturn]] void Throw(int category, Context context)
{
    throw HierarchicalException(basic_binstream::kSignature, category, context, 0, nullptr);
}

}  // namespace

basic_binstream::basic_binstream(memblock& block)
    : mBlock(&block)
{
}

basic_binstream& basic_binstream::operator<<(std::u16string const& text)
{
    char* target = MakeRoom(text.size(), 2);
    for (char16_t const unit : text) {
        *target++ = static_cast<char>(unit);
        *target++ = static_cast<char>(unit >> 8);
    }
    return *this;
}

basic_binstream& basic_binstream::operator<<(std::string const& text)
{
    text.copy(MakeRoom(text.size(), 1), text.size());
    return *this;
}

basic_binstream& basic_binstream::operator>>(std::u16string& text)
{
    unsigned long const length = PeekLength(2);
    std::u16string read(length, u'\0');
    char const* source = mBlock->data() + mCursor + kLengthSize;
    for (char16_t& unit : read) {
        auto const low = static_cast<unsigned char>(*source++);
        auto const high = static_cast<unsigned char>(*source++);
        unit = static_cast<char16_t>(low | high << 8);
    }
    text.swap(read);
    mCursor += kLengthSize + 2 * length;
    return *this;
}

basic_binstream& basic_binstream::operator>>(std::string& text)
{
    unsigned long const length = PeekLength(1);
    text.assign(mBlock->data() + mCursor + kLengthSize, length);
    mCursor += kLengthSize + length;
    return *this;
}

void basic_binstream::Read(void* bytes, unsigned long count)
{
    unsigned long const size = mBlock->size();
    if (mCursor > size || count > size - mCursor) Throw(kPastEnd, kReading);
    if (count == 0) return;
    std::memcpy(bytes, mBlock->data() + mCursor, count);
    mCursor += count;
}

void basic_binstream::Write(void const* bytes, unsigned long count)
{
    if (count == 0) return;
    if (count > UINT64_MAX - mCursor) Throw(kTooLong, kWriting);
    if (mCursor + count > mBlock->size()) mBlock->resize(mCursor + count);
    std::memcpy(mBlock->data() + mCursor, bytes, count);
    mCursor += count;
}

void basic_binstream::SetCursorPos(long long offset, cursorref_type reference)
{
    unsigned long const size = mBlock->size();
    unsigned long const base = reference == cursor_from_end       ? size
                               : reference == cursor_from_current ? mCursor
                                                                  : 0;
    // Taken as a magnitude, so that the most negative offset has one too.
    unsigned long const magnitude =
        offset < 0 ? ~static_cast<unsigned long>(offset) + 1 : static_cast<unsigned long>(offset);
    bool const isInside = offset < 0 ? magnitude <= base : base <= size && magnitude <= size - base;
    if (!isInside) Throw(kBadCursor, kSeeking);
    mCursor = offset < 0 ? base - magnitude : base + magnitude;
}

// Writes the length field, moves the cursor behind the string and answers where its units go.
char* basic_binstream::MakeRoom(unsigned long length, unsigned long unitSize)
{
    if (length > UINT32_MAX) Throw(kTooLong, kWriting);
    unsigned long const end = mCursor + kLengthSize + unitSize * length;
    if (end > mBlock->size()) mBlock->resize(end);
    char* target = mBlock->data() + mCursor;
    for (unsigned i = 0; i < kLengthSize; ++i)
        *target++ = static_cast<char>(length >> (8 * i));
    mCursor = end;
    return target;
}

// The length field at the cursor, once it is known that all its units are there.
unsigned long basic_binstream::PeekLength(unsigned long unitSize) const
{
    unsigned long const size = mBlock->size();
    if (mCursor > size || size - mCursor < kLengthSize) Throw(kPastEnd, kReading);
    auto const* field = reinterpret_cast<unsigned char const*>(mBlock->data()) + mCursor;
    unsigned long length = 0;
    for (unsigned i = 0; i < kLengthSize; ++i)
        length |= static_cast<unsigned long>(field[i]) << (8 * i);
    if (length > (size - mCursor - kLengthSize) / unitSize) Throw(kPastEnd, kReading);
    return length;
}

#include "loamctl/Compressing.h"

#include "files/CFile.h"
#include "loamctl/CNewFile.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"

namespace {

constexpr std::string_view kDictionaryMagic = "\x37\xA4\x30\xEC";

}  // namespace

void AddCompressionOptions(CArguments command, CompressionOptions& options)
{
    COption const bzip2 =
        command.AddFlag("--bzip2", options.mBzip2, "A bzip2 stream, not a zstd one");
    command
        .AddFlag("--magicless", options.mMagicless,
                 "Zstd frames without their magic number; both sides must agree")
        .Excludes(bzip2);
    command
        .Add("--dict", options.mDictionaryPath,
             "A zstd dictionary of `loamctl train`; both sides need it")
        .Excludes(bzip2)
        .Shown("D");
}

void ReadDictionary(CompressionOptions& options)
{
    if (options.mDictionaryPath.empty()) return;
    CFile file(SpecOfArgument(options.mDictionaryPath));
    file.Open(CFile::cPrivilegeRead);
    amortizedmemblock& bytes = options.mDictionary;
    bytes.resize(static_cast<unsigned long>(file.GetLength()));
    long long const count = file.Read(bytes.data(), static_cast<long long>(bytes.size()));
    bytes.resize(static_cast<unsigned long>(count));

    amortizedmemblock raw;
    bool const isFrame = NewZstdCompressor()->Decompress(bytes.data(), bytes.size(), raw);
    std::string_view const content(raw.data(), raw.size());
    if (!isFrame || !content.starts_with(kDictionaryMagic)) {
        throw CUsageError(SafeName(options.mDictionaryPath) +
                          ": is no dictionary that `loamctl train` made");
    }
}

std::unique_ptr<CZstdCompressor> NewZstdCompressor()
{
    auto* const compressor = CDataCompressionServices::NewCompressor(
        CDataCompressionServices::kDataCompressionZstd, nullptr);
    return std::unique_ptr<CZstdCompressor>(dynamic_cast<CZstdCompressor*>(compressor));
}

std::unique_ptr<CDataCompressor> MakeCompressor(CompressionOptions const& options,
                                                CDataCompressionProgress* progress)
{
    if (options.mBzip2) {
        return std::unique_ptr<CDataCompressor>(CDataCompressionServices::NewCompressor(
            CDataCompressionServices::kDataCompressionBzip2, progress));
    }
    std::unique_ptr<CZstdCompressor> compressor = NewZstdCompressor();
    compressor->SetMagiclessFormat(options.mMagicless);
    compressor->EnableLongDistanceMatching(options.mLong);
    int const level = options.mLevel != 0 ? options.mLevel : compressor->GetCompressionLevel();
    if (options.mDictionaryPath.empty()) {
        compressor->SetCompressionLevel(level);
    } else {
        compressor->SetDictionaryAndCompressionLevel(options.mDictionary.data(),
                                                     options.mDictionary.size(), level);
    }
    return compressor;
}

#include "security/Base64Kernels.h"

#include "foundation/ProcessorFeatures.h"

namespace {

// Two bits above those of a value.
constexpr std::uint8_t kBad = 0xC0;
constexpr auto kValues = MakeBase64Values(kBad);

unsigned int ValueOf(char character)
{
    return kValues[static_cast<unsigned char>(character)];
}

// The last one or two bytes, with padding.
void EncodeRest(unsigned char const* in, std::size_t size, char* out)
{
    unsigned int const a = in[0];
    unsigned int const b = size < 2 ? 0U : in[1];
    out[0] = cEncodingTable[a >> 2];
    out[1] = cEncodingTable[(a & 3) << 4 | b >> 4];
    out[2] = cEncodingTable[size < 2 ? kBase64Padding : (b & 15) << 2];
    out[3] = cEncodingTable[kBase64Padding];
}

// A group whose last one or two characters are padding; false if it has a bad one.
bool DecodePadded(char const* in, std::size_t padding, unsigned char* out)
{
    unsigned int const p = ValueOf(in[0]);
    unsigned int const q = ValueOf(in[1]);
    unsigned int const r = padding == 2 ? 0U : ValueOf(in[2]);
    if ((p | q | r) >= kBad) return false;
    unsigned char group[3];
    JoinBase64(p, q, r, 0, group);
    std::copy_n(group, 3 - padding, out);
    return true;
}

constexpr Base64Kernels kPlain = {
    .mName = "plain",
    .mEncode = EncodeBase64Plain,
    .mDecode = DecodeBase64Plain,
    .mDecodeLines = DecodeBase64LinesBy<DecodeBase64Plain>,
};
#if defined(__x86_64__)
constexpr Base64Kernels kSSSE3 = {
    .mName = "SSSE3",
    .mEncode = EncodeBase64SSSE3,
    .mDecode = DecodeBase64SSSE3,
    .mDecodeLines = DecodeBase64LinesBy<DecodeBase64SSSE3>,
};
constexpr Base64Kernels kAVX2 = {
    .mName = "AVX2",
    .mEncode = EncodeBase64AVX2,
    .mDecode = DecodeBase64AVX2,
    .mDecodeLines = DecodeBase64LinesBy<DecodeBase64AVX2>,
};
constexpr Base64Kernels kAVX512 = {
    .mName = "AVX-512 VBMI2",
    .mEncode = EncodeBase64AVX512,
    .mDecode = DecodeBase64AVX512,
    .mDecodeLines = DecodeBase64LinesAVX512,
};
#elif defined(__aarch64__)
constexpr Base64Kernels kNEON = {
    .mName = "NEON",
    .mEncode = EncodeBase64NEON,
    .mDecode = DecodeBase64NEON,
    .mDecodeLines = DecodeBase64LinesBy<DecodeBase64NEON>,
};
#endif

}  // namespace

void EncodeBase64Plain(unsigned char const* in, std::size_t size, char* out)
{
    for (; size >= 3; in += 3, size -= 3, out += 4) {
        unsigned int const bits = unsigned{in[0]} << 16 | unsigned{in[1]} << 8 | in[2];
        out[0] = cEncodingTable[bits >> 18];
        out[1] = cEncodingTable[bits >> 12 & 0x3F];
        out[2] = cEncodingTable[bits >> 6 & 0x3F];
        out[3] = cEncodingTable[bits & 0x3F];
    }
    if (size != 0) EncodeRest(in, size, out);
}

std::size_t
DecodeBase64Plain(char const* in, std::size_t size, std::size_t padding, unsigned char* out)
{
    std::size_t const unpadded = (size - padding) & ~std::size_t{3};
    std::size_t done = 0;
    for (; done < unpadded; done += 4, out += 3) {
        unsigned int const p = ValueOf(in[done]);
        unsigned int const q = ValueOf(in[done + 1]);
        unsigned int const r = ValueOf(in[done + 2]);
        unsigned int const s = ValueOf(in[done + 3]);
        if ((p | q | r | s) >= kBad) return done;
        JoinBase64(p, q, r, s, out);
    }
    if (done < size && DecodePadded(in + done, padding, out)) done += 4;
    return done;
}

std::vector<Base64Kernels const*> GetAllBase64Kernels()
{
    std::vector<Base64Kernels const*> all{&kPlain};
#if defined(__x86_64__)
    ProcessorFeatures const& has = GetProcessorFeatures();
    if (has.mSSSE3) all.push_back(&kSSSE3);
    if (has.mAVX2) all.push_back(&kAVX2);
    if (has.mVBMI2) all.push_back(&kAVX512);
#elif defined(__aarch64__)
    all.push_back(&kNEON);
#endif
    return all;
}

std::atomic<Base64Kernels const*> sBase64KernelsInUse{nullptr};

Base64Kernels const& ChooseBase64Kernels()
{
    Base64Kernels const* const fastest = GetAllBase64Kernels().back();
    // Every thread comes to the same choice. One that a guard has made meanwhile stays.
    Base64Kernels const* inUse = nullptr;
    return sBase64KernelsInUse.compare_exchange_strong(inUse, fastest) ? *fastest : *inUse;
}

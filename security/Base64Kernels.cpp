#include "security/Base64Kernels.h"

#if defined(__aarch64__)
#include <arm_neon.h>
#endif

#if defined(__x86_64__)
/// Those of Base64KernelsX86.cpp that this processor can run, slowest first.
std::vector<Base64Kernels> GetX86Base64Kernels();
#endif

namespace {

// Two bits above those of a value.
constexpr std::uint8_t kBad = 0xC0;
constexpr auto kValues = MakeBase64Values(kBad);

unsigned int ValueOf(char character)
{
    return kValues[static_cast<unsigned char>(character)];
}

#if defined(__aarch64__)

// 48 bytes and 64 characters at a time: the loads and stores of every third byte and every fourth
// character do the sorting.

uint8x16x4_t LoadTable(std::uint8_t const* from)
{
    return {vld1q_u8(from), vld1q_u8(from + 16), vld1q_u8(from + 32), vld1q_u8(from + 48)};
}

void EncodeNEON(unsigned char const* in, std::size_t size, char* out)
{
    uint8x16x4_t const alphabet = LoadTable(reinterpret_cast<std::uint8_t const*>(cEncodingTable));
    uint8x16_t const six = vdupq_n_u8(0x3F);
    for (; size >= 48; in += 48, size -= 48, out += 64) {
        uint8x16x3_t const bytes = vld3q_u8(in);
        uint8x16_t const a = bytes.val[0];
        uint8x16_t const b = bytes.val[1];
        uint8x16_t const c = bytes.val[2];
        uint8x16_t const p = vshrq_n_u8(a, 2);
        uint8x16_t const q = vandq_u8(vsliq_n_u8(vshrq_n_u8(b, 4), a, 4), six);
        uint8x16_t const r = vandq_u8(vsliq_n_u8(vshrq_n_u8(c, 6), b, 2), six);
        uint8x16_t const s = vandq_u8(c, six);
        uint8x16x4_t const text = {vqtbl4q_u8(alphabet, p), vqtbl4q_u8(alphabet, q),
                                   vqtbl4q_u8(alphabet, r), vqtbl4q_u8(alphabet, s)};
        vst4q_u8(reinterpret_cast<std::uint8_t*>(out), text);
    }
    EncodeBase64Plain(in, size, out);
}

// The look-up leaves bytes beyond a table as they are: those from 0x80 on keep their highest bit.
uint8x16_t ValuesOf(uint8x16x4_t low, uint8x16x4_t high, uint8x16_t text)
{
    uint8x16_t const upper = veorq_u8(text, vdupq_n_u8(0x40));
    return vqtbx4q_u8(vqtbx4q_u8(text, low, text), high, upper);
}

std::size_t DecodeNEON(char const* in, std::size_t size, unsigned char* out)
{
    uint8x16x4_t const low = LoadTable(kValues.data());
    uint8x16x4_t const high = LoadTable(kValues.data() + 64);
    std::size_t done = 0;
    for (; size - done >= 64; done += 64, out += 48) {
        uint8x16x4_t const text = vld4q_u8(reinterpret_cast<std::uint8_t const*>(in) + done);
        uint8x16_t const p = ValuesOf(low, high, text.val[0]);
        uint8x16_t const q = ValuesOf(low, high, text.val[1]);
        uint8x16_t const r = ValuesOf(low, high, text.val[2]);
        uint8x16_t const s = ValuesOf(low, high, text.val[3]);
        if (vmaxvq_u8(vorrq_u8(vorrq_u8(p, q), vorrq_u8(r, s))) >= 0x40) break;
        uint8x16x3_t const bytes = {vsliq_n_u8(vshrq_n_u8(q, 4), p, 2),
                                    vsliq_n_u8(vshrq_n_u8(r, 2), q, 4), vsliq_n_u8(s, r, 6)};
        vst3q_u8(out, bytes);
    }
    return done + DecodeBase64Plain(in + done, size - done, out);
}

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
}

std::size_t DecodeBase64Plain(char const* in, std::size_t size, unsigned char* out)
{
    std::size_t done = 0;
    for (; size - done >= 4; done += 4, out += 3) {
        unsigned int const p = ValueOf(in[done]);
        unsigned int const q = ValueOf(in[done + 1]);
        unsigned int const r = ValueOf(in[done + 2]);
        unsigned int const s = ValueOf(in[done + 3]);
        if ((p | q | r | s) >= kBad) break;
        JoinBase64(p, q, r, s, out);
    }
    return done;
}

std::vector<Base64Kernels> GetAllBase64Kernels()
{
    std::vector<Base64Kernels> all{{"plain", EncodeBase64Plain, DecodeBase64Plain}};
#if defined(__x86_64__)
    for (Base64Kernels const& kernels : GetX86Base64Kernels())
        all.push_back(kernels);
#elif defined(__aarch64__)
    all.push_back({"NEON", EncodeNEON, DecodeNEON});
#endif
    return all;
}

Base64Kernels const& GetBase64Kernels()
{
    static Base64Kernels const sKernels = GetAllBase64Kernels().back();
    return sKernels;
}

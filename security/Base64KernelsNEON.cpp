// 48 bytes and 64 characters at a time: the loads and stores of every third byte and every fourth
// character do the sorting.
#include "security/Base64Kernels.h"

#if defined(__aarch64__)

#include <arm_neon.h>

namespace {

constexpr auto kValues = MakeBase64Values(0xC0);

uint8x16x4_t LoadTable(std::uint8_t const* from)
{
    return {vld1q_u8(from), vld1q_u8(from + 16), vld1q_u8(from + 32), vld1q_u8(from + 48)};
}

// The look-up leaves bytes beyond a table as they are: those from 0x80 on keep their highest bit.
uint8x16_t ValuesOf(uint8x16x4_t low, uint8x16x4_t high, uint8x16_t text)
{
    uint8x16_t const upper = veorq_u8(text, vdupq_n_u8(0x40));
    return vqtbx4q_u8(vqtbx4q_u8(text, low, text), high, upper);
}

}  // namespace

void EncodeBase64NEON(unsigned char const* in, std::size_t size, char* out)
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

std::size_t
DecodeBase64NEON(char const* in, std::size_t size, std::size_t padding, unsigned char* out)
{
    uint8x16x4_t const low = LoadTable(kValues.data());
    uint8x16x4_t const high = LoadTable(kValues.data() + 64);
    std::size_t const unpadded = size - padding;
    std::size_t done = 0;
    for (; unpadded - done >= 64; done += 64, out += 48) {
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
    return done + DecodeBase64Plain(in + done, size - done, padding, out);
}

#endif

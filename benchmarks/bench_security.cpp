// Base64 and AES beside OpenSSL, in one run. `Loam` and `OpenSSL` in a name tell whose it is, the
// number behind it the bytes in clear.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include "marl/memblock.h"
#include "security/CBase64Encoder.h"
#include "security/CCryptoServices.h"

namespace {

memblock SomeBytes(std::int64_t size)
{
    memblock bytes;
    bytes.resize(static_cast<unsigned long>(size));
    std::uint32_t state = 1;
    for (unsigned long i = 0; i < bytes.size(); ++i)
        bytes.data()[i] = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

unsigned char const* BytesOf(memblock const& block)
{
    return reinterpret_cast<unsigned char const*>(block.data());
}

int LengthOf(memblock const& block)
{
    return static_cast<int>(block.size());
}

void Count(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void EncodeLoam(benchmark::State& state)
{
    memblock const bytes = SomeBytes(state.range(0));
    memblock text;
    for (auto _ : state) {
        CBase64Encoder::Encode(bytes, &text, false);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
    Count(state);
}

void EncodeOpenSSL(benchmark::State& state)
{
    memblock const bytes = SomeBytes(state.range(0));
    std::vector<unsigned char> text(bytes.size() * 2 + 4);
    for (auto _ : state) {
        benchmark::DoNotOptimize(EVP_EncodeBlock(text.data(), BytesOf(bytes), LengthOf(bytes)));
        benchmark::ClobberMemory();
    }
    Count(state);
}

memblock Encoded(benchmark::State const& state, bool lineBreaks)
{
    memblock text;
    CBase64Encoder::Encode(SomeBytes(state.range(0)), &text, lineBreaks);
    return text;
}

void DecodeLoam(benchmark::State& state, bool lineBreaks)
{
    memblock const text = Encoded(state, lineBreaks);
    memblock bytes;
    for (auto _ : state) {
        CBase64Encoder::Decode(text, &bytes, nullptr);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    Count(state);
}

void DecodeOpenSSL(benchmark::State& state)
{
    memblock const text = Encoded(state, false);
    std::vector<unsigned char> bytes(text.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(), BytesOf(text), LengthOf(text)));
        benchmark::ClobberMemory();
    }
    Count(state);
}

void DecodeLinesOpenSSL(benchmark::State& state)
{
    memblock const text = Encoded(state, true);
    std::vector<unsigned char> bytes(text.size());
    EVP_ENCODE_CTX* const context = EVP_ENCODE_CTX_new();
    for (auto _ : state) {
        int count = 0;
        int rest = 0;
        EVP_DecodeInit(context);
        EVP_DecodeUpdate(context, bytes.data(), &count, BytesOf(text), LengthOf(text));
        benchmark::DoNotOptimize(EVP_DecodeFinal(context, bytes.data() + count, &rest));
        benchmark::ClobberMemory();
    }
    EVP_ENCODE_CTX_free(context);
    Count(state);
}

constexpr char const* kKey = "a key of sixteen";

// In place, over and over: what comes out goes in again, but for the padding.
void AESLoam(benchmark::State& state, bool encrypt)
{
    CCryptoServices const& crypto = *CCryptoServices::GetCryptoServices();
    memblock const clear = SomeBytes(state.range(0));
    memblock input = clear;
    if (!encrypt) crypto.SymetricEncryptAES(true, kKey, input);
    memblock data;
    data.resize(input.size() + 16);
    for (auto _ : state) {
        data.resize(input.size());
        std::copy_n(input.data(), input.size(), data.data());
        crypto.SymetricEncryptAES(encrypt, kKey, data);
        benchmark::DoNotOptimize(data.data());
    }
    Count(state);
}

// The same with a new context for each, and the same copy before.
void AESOpenSSL(benchmark::State& state, bool encrypt)
{
    memblock input = SomeBytes(state.range(0));
    if (!encrypt) CCryptoServices::GetCryptoServices()->SymetricEncryptAES(true, kKey, input);
    std::vector<unsigned char> in(input.size());
    std::vector<unsigned char> out(input.size() + 32);
    unsigned char const zeros[16] = {};
    EVP_CIPHER* const cipher = EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr);
    for (auto _ : state) {
        std::copy_n(input.data(), input.size(), in.data());
        int count = 0;
        int rest = 0;
        EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
        EVP_CipherInit_ex2(context, cipher, reinterpret_cast<unsigned char const*>(kKey), zeros,
                           encrypt ? 1 : 0, nullptr);
        EVP_CipherUpdate(context, out.data(), &count, in.data(), static_cast<int>(in.size()));
        EVP_CipherFinal_ex(context, out.data() + count, &rest);
        EVP_CIPHER_CTX_free(context);
        benchmark::DoNotOptimize(out.data());
    }
    EVP_CIPHER_free(cipher);
    Count(state);
}

// As large as each of the texts; and beyond what some second caches hold together with its Base64.
constexpr std::int64_t kMega = 1000000;
constexpr std::int64_t kMebi = std::int64_t{1} << 20;

}  // namespace

BENCHMARK(EncodeLoam)->Arg(100)->Arg(kMega)->Arg(kMebi);
BENCHMARK(EncodeOpenSSL)->Arg(100)->Arg(kMega)->Arg(kMebi);
BENCHMARK_CAPTURE(DecodeLoam, one_line, false)->Arg(100)->Arg(kMega)->Arg(kMebi);
BENCHMARK(DecodeOpenSSL)->Arg(100)->Arg(kMega)->Arg(kMebi);
BENCHMARK_CAPTURE(DecodeLoam, lines, true)->Arg(kMega);
BENCHMARK(DecodeLinesOpenSSL)->Arg(kMega);
BENCHMARK_CAPTURE(AESLoam, encrypt, true)->Arg(64)->Arg(kMega);
BENCHMARK_CAPTURE(AESOpenSSL, encrypt, true)->Arg(64)->Arg(kMega);
BENCHMARK_CAPTURE(AESLoam, decrypt, false)->Arg(64)->Arg(kMega);
BENCHMARK_CAPTURE(AESOpenSSL, decrypt, false)->Arg(64)->Arg(kMega);

BENCHMARK_MAIN();

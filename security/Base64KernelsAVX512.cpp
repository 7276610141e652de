#include "security/Base64Kernels.h"

#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <bit>

// With a hint for lines that will be written, beyond what the shared macros name.
#define LOAM_BASE64                                                                                \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,popcnt,"      \
                          "prfchw")))
#define LOAM_BASE64_INLINE __attribute__((always_inline)) LOAM_BASE64 inline

// 48 bytes, 64 characters at a time; what is left over at the end goes through masks.

namespace {

struct Order
{
    std::uint8_t mPlaces[64];
};

// The bytes b a c b of each group.
constexpr Order kSplitOrder = [] {
    Order order{};
    for (int i = 0; i < 16; ++i) {
        constexpr int kInGroup[4] = {1, 0, 2, 1};
        for (int k = 0; k < 4; ++k)
            order.mPlaces[4 * i + k] = static_cast<std::uint8_t>(3 * i + kInGroup[k]);
    }
    return order;
}();

// The lower three bytes of each group, highest first.
constexpr Order kJoinOrder = [] {
    Order order{};
    for (int i = 0; i < 48; ++i)
        order.mPlaces[i] = static_cast<std::uint8_t>(i / 3 * 4 + 2 - i % 3);
    return order;
}();

constexpr std::uint8_t kSpace = 0x40;
constexpr std::uint8_t kBad = 0x80;

using Values = std::array<std::uint8_t, 256>;

constexpr Values kValues = MakeBase64Values(kBad);

// With white space told apart.
constexpr Values kLineValues = [] {
    Values values = kValues;
    for (char const space : {' ', '\t', '\r', '\n'})
        values[static_cast<unsigned char>(space)] = kSpace;
    return values;
}();

LOAM_BASE64_INLINE __m512i Load(void const* from)
{
    return _mm512_loadu_si512(from);
}

// g++ would load again what is needed twice, and text mostly lies across two cache lines.
LOAM_BASE64_INLINE __m512i LoadOnce(void const* from)
{
    __m512i vector = Load(from);
    asm("" : "+v"(vector));
    return vector;
}

// The forms with a mask, here of all bytes: in g++ 12 the plain ones read a register that was never
// set, and warn.
constexpr __mmask64 kAll = ~__mmask64{0};

LOAM_BASE64_INLINE __m512i Permute(__m512i order, __m512i bytes)
{
    return _mm512_maskz_permutexvar_epi8(kAll, order, bytes);
}

LOAM_BASE64_INLINE __m512i MultiShift(__m512i shifts, __m512i groups)
{
    return _mm512_maskz_multishift_epi64_epi8(kAll, shifts, groups);
}

// Fetches what will be read and written some blocks later. Beyond the ends nothing is fetched: that
// would cost short texts more than all their work.
constexpr std::size_t kReadAhead = 1024;
constexpr std::size_t kWriteAhead = 512;

LOAM_BASE64_INLINE void FetchForReading(void const* in)
{
    _mm_prefetch(static_cast<char const*>(in) + kReadAhead, _MM_HINT_T0);
}

LOAM_BASE64_INLINE void FetchForWriting(void const* out)
{
    _mm_prefetch(static_cast<char const*>(out) + kWriteAhead, _MM_HINT_ET0);
}

// A mask of the first `count`, 64 at most.
LOAM_BASE64_INLINE std::uint64_t First(std::size_t count)
{
    return LowBits(static_cast<std::ptrdiff_t>(count));
}

LOAM_BASE64_INLINE void StoreFirst(unsigned char* out, std::size_t count, __m512i bytes)
{
    _mm512_mask_storeu_epi8(out, First(count), bytes);
}

LOAM_BASE64_INLINE __m512i EncodeVector(__m512i bytes, __m512i order, __m512i alphabet)
{
    __m512i const groups = Permute(order, bytes);
    __m512i const shifts = _mm512_set1_epi64(0x3036242A1016040A);
    return Permute(MultiShift(shifts, groups), alphabet);
}

// Those of 64 characters. What isn't ASCII may come out as anything.
LOAM_BASE64_INLINE __m512i LookUp(Values const& values, __m512i text)
{
    return _mm512_permutex2var_epi8(Load(values.data()), text, Load(values.data() + 64));
}

LOAM_BASE64_INLINE __m512i Or(__m512i a, __m512i b, __m512i c)
{
    return _mm512_ternarylogic_epi64(a, b, c, 0xFE);
}

LOAM_BASE64_INLINE std::uint64_t FindBad(__m512i text, __m512i values)
{
    return _mm512_movepi8_mask(_mm512_or_si512(values, text));
}

// Four values to three bytes, 64 to 48.
struct Joiner
{
    __m512i mPairs;
    __m512i mGroups;
    __m512i mOrder;

    LOAM_BASE64_INLINE Joiner()
        : mPairs(EachUnit<0x0140>())
        , mGroups(EachLane<0x00011000>())
        , mOrder(Load(kJoinOrder.mPlaces))
    {
    }

    LOAM_BASE64_INLINE __m512i operator()(__m512i values) const
    {
        __m512i const groups = _mm512_madd_epi16(_mm512_maddubs_epi16(values, mPairs), mGroups);
        return Permute(mOrder, groups);
    }
};

// How many there are in front of the first that `mask` marks.
LOAM_BASE64_INLINE std::size_t CountBefore(std::uint64_t mask)
{
    return static_cast<std::size_t>(std::countr_zero(mask));
}

LOAM_BASE64_INLINE std::size_t WholeGroups(std::size_t count)
{
    return count & ~std::size_t{3};
}

constexpr std::size_t kFour = 256;

LOAM_BASE64_INLINE void FetchForFour(char const* in, unsigned char* out)
{
    for (std::size_t line = 0; line < 4; ++line)
        FetchForReading(in + 64 * line);
    for (std::size_t line = 0; line < 3; ++line)
        FetchForWriting(out + 64 * line);
}

// Decodes four blocks, unless there is a bad character in them. Behind the bytes 16 more are
// written.
LOAM_BASE64_INLINE bool DecodeFour(char const* in, unsigned char* out, Joiner const& join)
{
    __m512i const a = LoadOnce(in);
    __m512i const b = LoadOnce(in + 64);
    __m512i const c = LoadOnce(in + 128);
    __m512i const d = LoadOnce(in + 192);
    __m512i const p = LookUp(kValues, a);
    __m512i const q = LookUp(kValues, b);
    __m512i const r = LookUp(kValues, c);
    __m512i const s = LookUp(kValues, d);
    __m512i const bad = Or(Or(a, b, c), Or(d, p, q), _mm512_or_si512(r, s));
    if (_mm512_movepi8_mask(bad) != 0) return false;
    _mm512_storeu_si512(out, join(p));
    _mm512_storeu_si512(out + 48, join(q));
    _mm512_storeu_si512(out + 96, join(r));
    _mm512_storeu_si512(out + 144, join(s));
    return true;
}

// Those of `spaces` that stand inside of a group. What is kept begins with one.
LOAM_BASE64_INLINE std::uint64_t FindMisplaced(std::uint64_t spaces, std::uint64_t kept)
{
    std::uint64_t const groupEnds = _pdep_u64(0x8888888888888888, kept);
    return spaces & ((kept & ~groupEnds) << 1);
}

// Goes over lines in blocks of 64 characters.
//
// Blocks follow each other at a fixed distance, wherever lines end in them, so that none waits for
// the characters of the one before: it begins at most three characters earlier, with those that
// are left of that one and stand together in front of it.
struct LineCursor
{
    static constexpr std::size_t kStep = 61;
    // 64 bytes are written where 48 are meant.
    static constexpr std::size_t kRoom = 88;

    char const* mNext;
    std::size_t mPending;
    unsigned char* mOut;

    // Decodes a block. What is bad about it is added to `bad`, where the highest bit of a byte
    // tells, and to `misplaced`.
    LOAM_BASE64_INLINE void Step(Joiner const& join, __m512i& bad, std::uint64_t& misplaced)
    {
        // Other characters count too, but are bad.
        std::uint64_t const blanks = _mm512_cmple_epu8_mask(Load(mNext), EachByte<' '>());
        std::uint64_t const block = First(kStep + mPending);
        std::uint64_t const spaces = (blanks << mPending) & block;
        std::uint64_t const kept = ~spaces & block;
        __m512i const text = LoadOnce(mNext - mPending);
        __m512i const values = LookUp(kLineValues, text);
        bad = Or(bad, values, text);
        misplaced |= FindMisplaced(spaces, kept);
        auto const count = static_cast<std::size_t>(_mm_popcnt_u64(kept));
        _mm512_storeu_si512(mOut, join(_mm512_maskz_compress_epi8(kept, values)));
        mOut += count / 4 * 3;
        mPending = count % 4;
        mNext += kStep;
    }

    // Decodes one or four blocks at a time, up to some that have a bad character or white space
    // inside a group.
    template <std::size_t kBlocks>
    LOAM_BASE64_INLINE void Run(char const* end)
    {
        Joiner const join;
        while (true) {
            auto const left = static_cast<std::size_t>(end - mNext);
            if (left < kRoom + (kBlocks - 1) * kStep) return;
            LineCursor after = *this;
            __m512i bad = _mm512_setzero_si512();
            std::uint64_t misplaced = 0;
            after.Step(join, bad, misplaced);
            if constexpr (kBlocks == 4) {
                if (left >= kReadAhead + kFour) FetchForFour(mNext, mOut);
                after.Step(join, bad, misplaced);
                after.Step(join, bad, misplaced);
                after.Step(join, bad, misplaced);
            }
            if ((_mm512_movepi8_mask(bad) | misplaced) != 0) return;
            *this = after;
        }
    }
};

// Decodes blocks of lines as long as all is good. Answers where a group ends, or white space behind
// one.
LOAM_BASE64_INLINE std::size_t
DecodeBlocksOfLines(char const* in, std::size_t size, unsigned char** out)
{
    LineCursor cursor{in, 0, *out};
    cursor.Run<4>(in + size);
    cursor.Run<1>(in + size);
    *out = cursor.mOut;
    return static_cast<std::size_t>(cursor.mNext - in) - cursor.mPending;
}

}  // namespace

LOAM_BASE64 void EncodeBase64AVX512(unsigned char const* in, std::size_t size, char* out)
{
    __m512i const order = Load(kSplitOrder.mPlaces);
    __m512i const alphabet = Load(cEncodingTable);
    for (; size >= kReadAhead + 64; in += 48, size -= 48, out += 64) {
        FetchForReading(in);
        FetchForWriting(out);
        _mm512_storeu_si512(out, EncodeVector(Load(in), order, alphabet));
    }
    for (; size >= 64; in += 48, size -= 48, out += 64)
        _mm512_storeu_si512(out, EncodeVector(Load(in), order, alphabet));
    if (size > 48) {
        __m512i const bytes = _mm512_maskz_loadu_epi8(First(48), in);
        _mm512_storeu_si512(out, EncodeVector(bytes, order, alphabet));
        in += 48, size -= 48, out += 64;
    }
    if (size == 0) return;
    // Padding first, where it would be: what there is of the last two characters overwrites it.
    auto const left = static_cast<std::uint32_t>(size);
    std::size_t const groups = (left + 2) / 3;
    std::fill_n(out + groups * 4 - 2, 2, '=');
    __m512i const bytes = _mm512_maskz_loadu_epi8(First(left), in);
    _mm512_mask_storeu_epi8(out, First((left * 4 + 2) / 3), EncodeVector(bytes, order, alphabet));
}

// Where all is good, which branches foresee, the answer doesn't wait for the characters: the next
// run is begun before this one is done.
LOAM_BASE64 std::size_t
DecodeBase64AVX512(char const* in, std::size_t size, std::size_t padding, unsigned char* out)
{
    Joiner const join;
    std::size_t const unpadded = size - padding;
    std::size_t done = 0;
    for (; unpadded - done >= kFour + 64; done += kFour, out += kFour / 4 * 3) {
        if (unpadded - done >= kReadAhead + kFour) FetchForFour(in + done, out);
        if (!DecodeFour(in + done, out, join)) break;
    }
    while (true) {
        std::size_t const left = std::min<std::size_t>(unpadded - done, 64);
        __m512i const text = _mm512_mask_loadu_epi8(EachByte<'A'>(), First(left), in + done);
        __m512i const values = LookUp(kValues, text);
        std::uint64_t const bad = FindBad(text, values);
        __m512i const bytes = join(values);
        if (bad != 0) {
            std::size_t const good = WholeGroups(CountBefore(bad));
            StoreFirst(out, good / 4 * 3, bytes);
            return done + good;
        }
        if (size - done <= 64) {
            StoreFirst(out, (size - done) / 4 * 3 - padding, bytes);
            return size;
        }
        StoreFirst(out, 48, bytes);
        done += 64;
        out += 48;
    }
}

LOAM_BASE64 Base64Run DecodeBase64LinesAVX512(char const* in, std::size_t size, unsigned char* out)
{
    Joiner const join;
    unsigned char* to = out;
    std::size_t next = DecodeBlocksOfLines(in, size, &to);
    Base64Run done{next, 0};
    while (done.mRead > 0 && IsBase64Space(in[done.mRead - 1]))
        --done.mRead;

    while (next < size) {
        std::size_t const left = std::min<std::size_t>(size - next, 64);
        __m512i const text = _mm512_maskz_loadu_epi8(First(left), in + next);
        __m512i const values = LookUp(kLineValues, text);
        std::uint64_t const spaces = _mm512_test_epi8_mask(values, EachByte<kSpace>());
        // What is beyond the end is 0, which is bad.
        std::uint64_t const bad = FindBad(text, values);
        std::uint64_t const wrong = bad | FindMisplaced(spaces, ~spaces);
        std::uint64_t const kept = ~spaces & First(CountBefore(wrong));
        std::size_t const count = WholeGroups(static_cast<std::size_t>(_mm_popcnt_u64(kept)));
        std::uint64_t const groups = _pdep_u64(First(count), kept);
        StoreFirst(to, count / 4 * 3, join(_mm512_maskz_compress_epi8(groups, values)));
        to += count / 4 * 3;
        if (groups != 0)
            done.mRead = next + 64 - static_cast<std::size_t>(std::countl_zero(groups));
        if (wrong != 0) break;
        // On to the first character that is left.
        next += CountBefore(kept & ~groups);
    }
    done.mWritten = static_cast<std::size_t>(to - out);
    return done;
}

#endif

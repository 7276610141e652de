// Any bytes as a language profile, and any bytes as the text that it is compared with.
//
// The first two bytes say how many of those that follow are the profile; the rest is the text.
#include "testing/NaiveGrams.h"
#include "text/LanguageGuesser.h"
#include "text/simd/TextKernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

UDM_LANGMAPLIST& ListOf(void* handle)
{
    return *static_cast<UDM_LANGMAPLIST*>(handle);
}

// Loads `bytes` from a file that is in memory only.
void Load(void* guesser, std::string const& bytes)
{
    int const file = memfd_create("profile.lm", 0);
    if (file < 0) return;
    bool const isWritten =
        write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    std::string const path = "/proc/self/fd/" + std::to_string(file);
    if (isWritten) {
        int const result = UdmLoadLangMapFile(&ListOf(guesser), path.c_str());
        Require(result == 0 || (result == -1 && ListOf(guesser).errcode == 1));
    }
    close(file);
}

void CheckCounts(UDM_LANGMAP const& map, std::string const& text)
{
    std::vector<UDM_LANGITEM> expected(UDM_LM_BUCKETS);
    VisitNaiveGrams(text, [&](std::string const& gram) {
        UDM_LANGITEM& item = expected[UdmCRC32(gram.data(), gram.size()) & UDM_LM_HASHMASK];
        item = {item.count + 1, {}};
        gram.copy(item.str, UDM_LM_MAXGRAM);
    });
    Require(std::memcmp(map.memb, expected.data(), sizeof map.memb) == 0);
    auto const prepared = std::make_unique<UDM_LANGMAP>(map);
    UdmPrepareLangMap(prepared.get());
    Require(prepared->mean == map.mean && prepared->std == map.std);
}

// The same name and the same confidence at every level of instructions.
void CheckLevels(void* guesser, std::vector<char> const& text)
{
    char const* language = nullptr;
    float confidence = 0;
    for (TextKernels const* const kernels : GetAllTextKernels()) {
        StTextKernels const inUse(*kernels);
        char const* found = nullptr;
        float share = 0;
        mguesserParseDataLen(guesser, text.data(), static_cast<long>(text.size()), &found, &share);
        Require(std::isnan(share) || (share >= 0 && share <= 1));
        bool const isFirst = kernels == &kPlainTextKernels;
        Require(isFirst ||
                (found == language && std::memcmp(&share, &confidence, sizeof share) == 0));
        language = found;
        confidence = share;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 2) return 0;
    size_t const profileSize =
        std::min<size_t>(static_cast<size_t>(data[0] | data[1] << 8), size - 2);
    std::string const profile(reinterpret_cast<char const*>(data) + 2, profileSize);
    // Of the exact size, so that the address sanitizer sees its end.
    std::vector<char> const text(data + 2 + profileSize, data + size);

    void* const guesser = mguesserAlloc();
    Load(guesser, profile);
    Load(guesser, "Language: a\nCharset: b\na\t5\n" + profile);
    CheckLevels(guesser, text);

    auto const* const map =
        reinterpret_cast<UDM_LANGMAP const*>(static_cast<UDM_LANGMAPLIST*>(guesser) + 1);
    CheckCounts(*map, {text.begin(), text.end()});
    for (size_t i = 0; i < ListOf(guesser).nmaps; ++i) {
        float const score = UdmCheckLangMap(&ListOf(guesser).Map[i], map);
        Require(std::abs(score) < 1.001f);
    }
    mguesserRelease(guesser);
    return 0;
}

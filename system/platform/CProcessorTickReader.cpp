#include "system/platform/CProcessorTickReader.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace {

// More than any kernel can be built for; a greater number is no processor's.
constexpr unsigned int kMostProcessors = 65536;

// The columns of a processor's line.
enum Column
{
    kUser,
    kNice,
    kSystem,
    kIdle,
    kWaitingForDevice,
    kInterrupt,
    kSoftInterrupt,
    kKeptByHost,
    kColumnCount,
};

// The numbers of a line. Those that an old kernel doesn't have are 0.
std::array<unsigned long long, kColumnCount> NumbersIn(std::string_view line)
{
    std::array<unsigned long long, kColumnCount> numbers{};
    char const* at = line.data();
    char const* const end = at + line.size();
    for (unsigned long long& number : numbers) {
        while (at != end && *at == ' ')
            ++at;
        at = std::from_chars(at, end, number).ptr;
    }
    return numbers;
}

}  // namespace

bool CProcessorTickReader::Take(std::string_view stat, ProcessorSnapshot& snapshot)
{
    constexpr std::string_view kPrefix = "cpu";
    std::lock_guard<std::mutex> const lock(mMutex);
    bool isAny = false;
    // The processors stand at the head of the file, behind a line for all of them together.
    while (stat.substr(0, kPrefix.size()) == kPrefix) {
        std::string_view line = stat.substr(0, stat.find('\n'));
        stat.remove_prefix(std::min(line.size() + 1, stat.size()));
        line.remove_prefix(kPrefix.size());

        unsigned int processor = 0;
        auto const [rest, error] =
            std::from_chars(line.data(), line.data() + line.size(), processor);
        if (error != std::errc{} || processor >= kMostProcessors) continue;
        line.remove_prefix(static_cast<std::size_t>(rest - line.data()));
        auto const numbers = NumbersIn(line);
        Note(processor, {numbers[kUser],
                         numbers[kSystem] + numbers[kInterrupt] + numbers[kSoftInterrupt] +
                             numbers[kKeptByHost],
                         numbers[kIdle] + numbers[kWaitingForDevice], numbers[kNice]});
        isAny = true;
    }
    if (!isAny) return false;

    snapshot.mProcessorCount = static_cast<unsigned int>(mLast.size());
    snapshot.mInfoCount = snapshot.mProcessorCount * 4;
    snapshot.mTicks = new ProcessorTicks[mLast.size()];
    std::transform(mLast.begin(), mLast.end(), snapshot.mTicks, [](Counters const& counters) {
        auto const cut = [](unsigned long long value) { return static_cast<unsigned int>(value); };
        return ProcessorTicks{cut(counters[0]), cut(counters[1]), cut(counters[2]),
                              cut(counters[3])};
    });
    return true;
}

// Only forward: time that waited for a device may be taken back, and a processor that was switched
// off may count anew.
void CProcessorTickReader::Note(unsigned int processor, Counters const& counters)
{
    if (processor >= mLast.size()) mLast.resize(processor + 1);
    Counters& last = mLast[processor];
    std::transform(counters.begin(), counters.end(), last.begin(), last.begin(),
                   [](auto now, auto before) { return std::max(now, before); });
}

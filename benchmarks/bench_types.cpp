// Type identifiers that are known already, by several threads at once, beside a plain look-up in a
// map under a shared lock.
#include <cstddef>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "files/CFileSpec.h"

namespace {

using Key = std::pair<unsigned int, std::u16string>;

// What a walk through a folder of documents asks for again and again.
std::vector<Key> const& Keys()
{
    static std::vector<Key> const keys = [] {
        std::vector<Key> made;
        for (char16_t const* const extension :
             {u"app", u"doc", u"html", u"jpg", u"mp4", u"numbers", u"pages", u"pdf", u"png", u"rtf",
              u"rtfd", u"txt", u"unknown", u"xls", u"xml", u"zip"}) {
            made.emplace_back(0, extension);
            made.emplace_back(0x54455854, extension);
        }
        return made;
    }();
    return keys;
}

void TypeLoam(benchmark::State& state)
{
    std::vector<Key> const& keys = Keys();
    std::string type;
    std::size_t at = static_cast<std::size_t>(state.thread_index());
    for (auto _ : state) {
        Key const& key = keys[at++ % keys.size()];
        CFileSpec::GetUTIForAttributes(key.second, key.first, 0, false, &type);
        benchmark::DoNotOptimize(type.data());
    }
}

void TypePlainMap(benchmark::State& state)
{
    static std::shared_mutex mutex;
    static std::map<Key, std::string> const types = [] {
        std::map<Key, std::string> made;
        for (Key const& key : Keys())
            CFileSpec::GetUTIForAttributes(key.second, key.first, 0, false, &made[key]);
        return made;
    }();
    std::vector<Key> const& keys = Keys();
    std::string type;
    std::size_t at = static_cast<std::size_t>(state.thread_index());
    for (auto _ : state) {
        std::shared_lock<std::shared_mutex> const lock(mutex);
        type = types.find(keys[at++ % keys.size()])->second;
        benchmark::DoNotOptimize(type.data());
    }
}

}  // namespace

BENCHMARK(TypeLoam)->Threads(1)->Threads(8)->UseRealTime();
BENCHMARK(TypePlainMap)->Threads(1)->Threads(8)->UseRealTime();
BENCHMARK_MAIN();

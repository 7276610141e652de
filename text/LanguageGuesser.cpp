#include "text/LanguageGuesser.h"

#include "text/CProfileScores.h"
#include "text/TextProfile.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kLineSize = 1000;
constexpr size_t kMaxGrams = 200;
constexpr char kBlanks[] = " \t\n\r";
constexpr char kCharsetKey[] = "Charset:";
constexpr char kLanguageKey[] = "Language:";
constexpr char kSuffix[] = ".lm";
constexpr size_t kSuffixLength = sizeof kSuffix - 1;

// What a handle points to. The scores follow the two records that the handle is made of.
struct Guesser
{
    UDM_LANGMAPLIST mList;
    UDM_LANGMAP mText;
    CProfileScores mScores;
};

// The number in front of whatever follows it, as `atoi` reads it, kept within an `int`.
int CountOf(char const* text)
{
    return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

// Puts a copy of the first word of `text` in the place of `name`; without a word nothing changes.
void TakeName(char* text, char*& name)
{
    char* last = nullptr;
    char const* const word = udm_strtok_r(text, kBlanks, &last);
    if (!word) return;
    std::free(name);
    name = strdup(word);
}

void TakeGram(char* line, UDM_LANGMAP& map)
{
    char* const tab = std::strchr(line, '\t');
    if (!tab) return;
    *tab = '\0';
    size_t const length = static_cast<size_t>(tab - line);
    int const count = CountOf(tab + 1);
    if (count == 0 || length == 0 || length > UDM_LM_MAXGRAM) return;
    std::replace(line, tab, '_', ' ');
    map.memb[UdmCRC32(line, length) & UDM_LM_HASHMASK].count = count;
}

void TakeLine(char* line, UDM_LANGMAP& map)
{
    if (line[0] == '#' || line[0] == '\t' || line[0] == ' ') return;
    if (std::strncmp(line, kCharsetKey, sizeof kCharsetKey - 1) == 0)
        TakeName(line + sizeof kCharsetKey - 1, map.charset);
    else if (std::strncmp(line, kLanguageKey, sizeof kLanguageKey - 1) == 0)
        TakeName(line + sizeof kLanguageKey - 1, map.lang);
    else
        TakeGram(line, map);
}

struct CloseFile
{
    void operator()(FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<FILE, CloseFile>;

// Without waiting for a pipe's writer, and never what has no end, such as a device.
File OpenProfile(char const* path)
{
    int const descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return nullptr;

    struct stat status
    {
    };

    bool const isFile =
        fstat(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
    File file(isFile ? fdopen(descriptor, "r") : nullptr);
    if (!file) close(descriptor);
    return file;
}

// The message is cut where the buffer ends.
int Fail(UDM_LANGMAPLIST& list, char const* what, char const* path)
{
    list.errcode = 1;
    int const length =
        std::snprintf(list.errstr, sizeof list.errstr, "%s LangMapFile '%s'\n", what, path);
    if (length < 0) list.errstr[0] = '\0';
    return -1;
}

// One zeroed record more; null if there is no memory.
UDM_LANGMAP* AddMap(UDM_LANGMAPLIST& list)
{
    void* const grown = std::realloc(list.Map, (list.nmaps + 1) * sizeof(UDM_LANGMAP));
    if (!grown) return nullptr;
    list.Map = static_cast<UDM_LANGMAP*>(grown);
    UDM_LANGMAP* const added = list.Map + list.nmaps++;
    std::memset(added, 0, sizeof *added);
    return added;
}

// Whether `languages` asks for the profile in the file `name`.
bool IsAskedFor(char const* name, size_t stemLength, char const* languages)
{
    if (!languages) return true;
    char stem[NAME_MAX + 1];
    size_t const length = std::min({stemLength, std::strcspn(name, "."), sizeof stem - 1});
    std::memcpy(stem, name, length);
    stem[length] = '\0';
    // Kept on purpose: anywhere in the text, also inside another name.
    return std::strstr(languages, stem) != nullptr;
}

void ScoreAll(Guesser& guesser, TextCounts const& counts, UDM_MAPSTAT* stats)
{
    UDM_LANGMAPLIST const& list = guesser.mList;
    for (size_t i = 0; i < list.nmaps; ++i)
        stats[i].map = list.Map + i;
    bool const isHeld =
        guesser.mScores.GetCount() == list.nmaps || guesser.mScores.Fill(list.Map, list.nmaps);
    if (isHeld) {
        guesser.mScores.Score(guesser.mText, counts, &stats->hits,
                              sizeof *stats / sizeof stats->hits);
        return;
    }
    for (size_t i = 0; i < list.nmaps; ++i)
        stats[i].hits = UdmCheckLangMap(stats[i].map, &guesser.mText);
}

struct Ranking
{
    UDM_MAPSTAT const* mBest;
    float mSecondScore;  // 0 where there is none
};

// Of equal scores the one comes first that was loaded first.
Ranking RankingOf(UDM_MAPSTAT const* stats, size_t count)
{
    Ranking ranking{stats, 0};
    for (UDM_MAPSTAT const* stat = stats + 1; stat < stats + count; ++stat) {
        if (stat->hits > ranking.mBest->hits)
            ranking = {stat, ranking.mBest->hits};
        else
            ranking.mSecondScore = std::max(ranking.mSecondScore, stat->hits);
    }
    return ranking;
}

// Kept on purpose: where no score is above 0 the share is 0/0.
float ConfidenceOf(Ranking const& ranking, size_t count)
{
    if (count == 1) return 1;
    float const first = ranking.mBest->hits;
    float const second = std::max(ranking.mSecondScore, 0.0f);
    return first > 0 ? 1 - second / first : std::numeric_limits<float>::quiet_NaN();
}

}  // namespace

extern "C" {

char* udm_strtok_r(char* string, char const* delimiters, char** last)
{
    if (!string && !(string = *last)) return nullptr;
    string += std::strspn(string, delimiters);
    if (!*string) {
        *last = nullptr;
        return nullptr;
    }
    char* const end = string + std::strcspn(string, delimiters);
    *last = *end ? end + 1 : nullptr;
    *end = '\0';
    return string;
}

int statcmp(void const* a, void const* b)
{
    float const hitsOfA = static_cast<UDM_MAPSTAT const*>(a)->hits;
    float const hitsOfB = static_cast<UDM_MAPSTAT const*>(b)->hits;
    return (hitsOfA < hitsOfB) - (hitsOfA > hitsOfB);
}

int UdmLoadLangMapFile(UDM_LANGMAPLIST* list, char const* path)
{
    File const file = OpenProfile(path);
    if (!file) return Fail(*list, "Can't open", path);
    UDM_LANGMAP* const map = AddMap(*list);
    if (!map) return Fail(*list, "No memory for", path);

    char line[kLineSize];
    while (std::fgets(line, sizeof line, file.get()))
        TakeLine(line, *map);
    // Kept on purpose: what was added stays, scores 0 and counts as a profile.
    if (!map->lang) return Fail(*list, "No language definition in", path);
    if (!map->charset) return Fail(*list, "No charset definition in", path);
    UdmPrepareLangMap(map);
    return 0;
}

void UdmFreeLangMapList(UDM_LANGMAPLIST* list)
{
    if (!list) return;
    for (size_t i = 0; i < list->nmaps; ++i) {
        std::free(list->Map[i].charset);
        std::free(list->Map[i].lang);
    }
    // Kept on purpose: the list still names what is gone.
    std::free(list->Map);
}

void* mguesserAlloc()
{
    auto* const guesser = new (std::nothrow) Guesser{};
    if (guesser) guesser->mText.maxngrams = kMaxGrams;
    return guesser;
}

void mguesserRelease(void* handle)
{
    if (!handle) return;
    auto* const guesser = static_cast<Guesser*>(handle);
    UdmFreeLangMapList(&guesser->mList);
    delete guesser;
}

bool mguesserLoadDefinitions(void* handle, char const* folder, char const* languages)
{
    if (!handle) return false;

    struct CloseFolder
    {
        void operator()(DIR* dir) const { closedir(dir); }
    };

    std::unique_ptr<DIR, CloseFolder> const dir(opendir(folder));
    if (!dir) return false;

    auto& list = static_cast<Guesser*>(handle)->mList;
    bool isAnyLoaded = false;
    while (dirent const* const entry = readdir(dir.get())) {
        char const* const name = entry->d_name;
        size_t const length = std::strlen(name);
        if (length < kSuffixLength || std::strcmp(name + length - kSuffixLength, kSuffix) != 0)
            continue;
        if (!IsAskedFor(name, length - kSuffixLength, languages)) continue;
        char path[PATH_MAX];
        int const needed = std::snprintf(path, sizeof path, "%s/%s", folder, name);
        // What the system couldn't open anyway is not opened by the start of its name.
        if (needed < 0 || static_cast<size_t>(needed) >= sizeof path)
            Fail(list, "Can't open", path);
        else if (UdmLoadLangMapFile(&list, path) == 0)
            isAnyLoaded = true;
    }
    return isAnyLoaded;
}

void mguesserUnloadDefinitions(void* handle)
{
    if (handle) UdmFreeLangMapList(&static_cast<Guesser*>(handle)->mList);
}

void mguesserParseDataLen(
    void* handle, char const* text, long length, char const** language, float* confidence)
{
    if (language) *language = nullptr;
    if (confidence) *confidence = 0;
    if (!handle) return;

    auto& guesser = *static_cast<Guesser*>(handle);
    std::memset(&guesser.mText, 0, sizeof guesser.mText);
    guesser.mText.maxngrams = kMaxGrams;
    if (length == -1) length = static_cast<long>(std::strlen(text));
    TextCounts counts;
    MakeTextProfile(guesser.mText, text, length, counts);

    size_t const count = guesser.mList.nmaps;
    if (count == 0) return;
    std::unique_ptr<UDM_MAPSTAT[]> const stats(new (std::nothrow) UDM_MAPSTAT[count]);
    if (!stats) return;
    ScoreAll(guesser, counts, stats.get());
    Ranking const ranking = RankingOf(stats.get(), count);
    if (language) *language = ranking.mBest->map->lang;
    if (confidence) *confidence = ConfidenceOf(ranking, count);
}
}

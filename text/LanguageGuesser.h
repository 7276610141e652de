// A small statistical language identifier with C linkage, working on bytes.
//
// A language is a profile: a table of 4096 counts of n-grams of 1 to 6 bytes, told apart by a hash
// of theirs, that a `.lm` file holds. A text becomes a profile of the same form, and the language
// whose profile has the highest Pearson correlation with it wins. Nothing here knows Unicode:
// profiles and texts have to be bytes of one encoding, UTF-8 for this library.
//
//     void* const guesser = mguesserAlloc();
//     mguesserLoadDefinitions(guesser, "/usr/share/loam/languages", nullptr);
//     mguesserParseDataLen(guesser, "Guten Tag", -1, &language, &confidence);
//
// Nothing throws. A handle serves one thread at a time; different handles don't know each other.
// Texts of 2 GB and more overflow their counts (which wrap).
//
// A `.lm` file is text, one item a line, in lines of at most 999 bytes (a longer one counts as
// several). "Language:" and "Charset:" at the start of a line name the two, the last line of each
// wins, and both are needed. A line that begins with `#`, a tab or a blank is a comment. Any other
// line with a tab in it is an n-gram, the tab, and its count in decimal; "_" stands for a blank. A
// count of 0, and an n-gram of no byte or more than 6, is passed over.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int UDM_LM_HASHMASK = 4095;
constexpr int UDM_LM_BUCKETS = UDM_LM_HASHMASK + 1;
constexpr int UDM_LM_MAXGRAM = 6;  // bytes
/// Counts that differ less than this tell nothing: such a profile scores 0.
constexpr double UDM_LM_LEASTSTD = 1e-5;

/// One bucket of a profile.
struct UDM_LANGITEM
{
    int count;
    /// The last n-gram counted here, for people to look at; nothing reads it.
    char str[12];
};

/// One profile.
struct UDM_LANGMAP
{
    float mean;     ///< of the counts
    float std;      ///< their population standard deviation
    char* lang;     ///< owned, from strdup; null until a file has named it
    char* charset;  ///< owned, from strdup; null until a file has named it
    UDM_LANGITEM memb[UDM_LM_BUCKETS];
    uint64_t maxngrams;  ///< 200 in a text's profile; nothing reads it
};

/// Profiles that were loaded, and what went wrong with the last that wasn't.
struct UDM_LANGMAPLIST
{
    size_t nmaps;
    UDM_LANGMAP* Map;  ///< owned, from realloc
    int errcode;       ///< 1 once a load has failed
    char errstr[1028];
};

/// One comparison with a profile.
struct UDM_MAPSTAT
{
    UDM_LANGMAP* map;  ///< not owned
    float hits;        ///< the score, -1 to 1
};

extern "C" {

/// A handle without profiles, which `mguesserRelease` takes back; null if there is no memory.
void* mguesserAlloc();

/// Frees a handle with its profiles. Null is passed over.
void mguesserRelease(void* handle);

/// Loads the profiles of `folder` (UTF-8, as the system takes it), in the folder's own order: the
/// files whose name ends in ".lm", and with `languages` those whose name up to its first dot
/// occurs anywhere in that text, so that "man" is found in "german". True if at least one was
/// loaded; a file that fails keeps no other from loading.
bool mguesserLoadDefinitions(void* handle, char const* folder, char const* languages);

/// Frees the profiles. Where there were any, the handle is good for nothing after that, not even
/// for `mguesserRelease`.
void mguesserUnloadDefinitions(void* handle);

/// Names the language of `length` bytes of `text`; -1 takes its length from its NUL. The byte
/// behind the text is never read.
///
/// `language`, if not null, gets the name in the best profile, which lives as long as the handle's
/// profiles; null if there are none, or if the best has no name. `confidence`, if not null, gets
/// 1 - second score / first score, with a negative score taken for 0: 0 without profiles, 1 with
/// one, and NaN where no score is above 0, as for an empty text.
///
/// The profiles are taken over by the first text after each load, which takes some 20 us a profile
/// longer; what is changed in `Map` later has no effect. A profile has 64 KB, and 16 KB more from
/// then on. Meanwhile, 16 bytes a profile are held on the heap and 50 KB on the stack, however long
/// the text is.
void mguesserParseDataLen(
    void* handle, char const* text, long length, char const** language, float* confidence);

/// Adds the profile in the file at `path` to the list. 0, or -1 with `errcode` and `errstr` set;
/// the list may have got one more profile all the same, which scores 0 everywhere. Only regular
/// files are read.
int UdmLoadLangMapFile(UDM_LANGMAPLIST* list, char const* path);

/// Frees what the profiles own, and the array. `nmaps` and `Map` stay as they were: the list must
/// not be used after that. Null is passed over.
void UdmFreeLangMapList(UDM_LANGMAPLIST* list);

/// Sets `mean` and `std` from the counts.
void UdmPrepareLangMap(UDM_LANGMAP* map);

/// Adds the n-grams of `length` bytes of `text` to the counts. Bytes below 0x20 are passed over,
/// runs of blanks and blanks at the start count as one and as none, and from each byte that is left
/// begin the n-grams of 1 to 6 such bytes.
void UdmBuildLangMap(UDM_LANGMAP* map, char const* text, long length);

/// The Pearson correlation of two prepared profiles, -1 to 1; 0 where one of them has a `std` below
/// 1e-5.
float UdmCheckLangMap(UDM_LANGMAP const* a, UDM_LANGMAP const* b);

/// Orders `UDM_MAPSTAT` by falling score, for `qsort`.
int statcmp(void const* a, void const* b);

/// POSIX `strtok_r` under its own name. A null `string` with a null `*last` answers null.
char* udm_strtok_r(char* string, char const* delimiters, char** last);

/// CRC-32 of IEEE 802.3 (reflected polynomial 0xEDB88320, all ones at the start, inverted at the
/// end).
uint32_t UdmCRC32(char const* buffer, size_t length);
}

// Names the files in a folder that hold a word, whatever its accents and case.
//
//     find-word FOLDER WORD

#include <iostream>
#include <string>

#include "files/CFile.h"
#include "files/CFileSpecIterator.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeMappingTable.h"

namespace {

std::u16string Fold(std::string const& utf8)
{
    std::u16string text;
    CUTFConverter::ConvertUTF8toUTF16(utf8, text, CUTFConverter::kLenientMode);
    CUnicodeMappingTable::GetDefaultTable()->MapText(text, text);
    return text;
}

std::string ReadAll(CFileSpec const& spec)
{
    CFile file(spec);
    file.Open(CFile::cPrivilegeRead);
    std::string bytes(static_cast<std::string::size_type>(file.GetLength()), ' ');
    long long const count = file.Read(&bytes[0], static_cast<long long>(bytes.size()));
    bytes.resize(static_cast<std::string::size_type>(count));
    return bytes;
}

bool FindIn(CFileSpec const& folder, std::u16string const& word)
{
    bool any = false;
    CFileSpecIterator entries(folder);
    for (CFileSpec entry; entries.Next(&entry);) {
        if (entry.IsFolder(false)) {
            any = FindIn(entry, word) || any;
        } else if (entry.IsRealFile(false) && Fold(ReadAll(entry)).find(word) != word.npos) {
            std::string path;
            entry.GetFullPath8bit(&path);
            std::cout << path << '\n';
            any = true;
        }
    }
    return any;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: find-word FOLDER WORD\n";
        return 2;
    }
    try {
        return FindIn(CFileSpec(std::string(argv[1]), false), Fold(argv[2])) ? 0 : 1;
    } catch (HierarchicalException const& failure) {
        // Thrown in one library, by way of another.
        if (failure.levels[0].signature != kFileDomain) throw;
        std::cerr << "find-word: " << failure.what() << '\n';
        return failure.levels[0].category == kFileNotFound ? 3 : 4;
    }
}

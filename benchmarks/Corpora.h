// The texts that the benchmarks read.
#pragma once

#include <string>
#include <vector>

struct Corpus
{
    std::string mName;  // of the language, `emoji`, or beginning with `short_`
    std::string mText;  // UTF-8
};

/// All texts in the order of their names, read at the first call: every UTF-8 file ending in .txt
/// of the folder that the environment variable LOAM_CORPORA names, otherwise of ../shared/corpora
/// beside the source tree. Where there is no such folder, the texts are made of the documents in
/// examples/documents: those of one language over and over to 1 MB. Ends the program with a message
/// where there is none at all. What was read stands in the report of the benchmarks as `corpora`.
std::vector<Corpus> const& Corpora();

/// True for a text of short lines, which is measured line by line too.
bool IsShortLines(Corpus const& corpus);

/// The lines of a text without their ends.
std::vector<std::string> LinesOf(std::string const& text);

// `loamctl words`: the words of a document as an index would take them in.
#pragma once

#include <string>

class COutput;

/// The program's exit code: 0, 1 if there is no word, 2 if the file could not be read as text.
int RunWords(std::string const& path, COutput& output);

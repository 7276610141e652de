// A program that others wrote, as the peer of a test.
#pragma once

#include <cstdio>
#include <string>

#include <sys/types.h>

/// A shell command, whose output comes here. It is killed with all that it started when the scope
/// ends.
class StProgram
{
public:
    explicit StProgram(std::string const& command);
    StProgram(StProgram const&) = delete;
    StProgram& operator=(StProgram const&) = delete;
    ~StProgram();

    /// Whether the shell finds a program.
    static bool IsThere(char const* name);

    /// The next line of the output, without its end; "(gone)" behind the last one.
    std::string Hear();
    /// Hears lines until one holds `text`, and answers it, or "(gone)".
    std::string HearOf(std::string const& text);

private:
    pid_t mId = -1;
    std::FILE* mOutput = nullptr;  // owned
};

// Short words for what the tests of files/ look at.
#pragma once

#include "files/CFileSpec.h"
#include "files/CFileSpecIterator.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

#include <cstdio>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

/// A specifier of a path, taken as it is.
inline CFileSpec Spec(std::string const& path)
{
    return {path, false};
}

/// The path of a specifier, or of its body, in UTF-8.
template <class Any>
std::string PathOf(Any const& spec)
{
    std::string path;
    spec.GetFullPath8bit(&path);
    return path;
}

template <class Any>
std::string NameOf(Any const& spec)
{
    std::string name;
    spec.GetFileName8bit(&name);
    return name;
}

/// The names in a folder, in the order of the system. Throws as the iterator does.
inline std::vector<std::string> NamesIn(CFileSpec const& folder)
{
    std::vector<std::string> names;
    CFileSpecIterator iterator(folder);
    for (CFileSpec entry; iterator.Next(&entry);)
        names.push_back(NameOf(entry));
    return names;
}

/// What an action threw, as "category in operation: path" of the file domain; "nothing" if it
/// returned, and "another domain" for all else.
template <class Action>
std::string Thrown(Action const& action)
{
    try {
        action();
    } catch (HierarchicalException const& e) {
        HierarchicalException::Level const& level = e.levels[0];
        if (level.signature != kFileDomain) return "another domain";
        return std::to_string(level.category) + " in " + std::to_string(level.context) + ": " +
               level.text;
    }
    return "nothing";
}

/// What `action` answers, a string, when it isn't root who asks: in a child process as user 65534
/// if this one is root. What it touches must be within reach of everybody.
template <class Action>
std::string AsOrdinaryUser(Action const& action)
{
    if (geteuid() != 0) return action();
    int ends[2];
    if (pipe(ends) != 0) return "no pipe";
    // Or the child would print what waits here too.
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child == 0) {
        constexpr unsigned int kNobody = 65534;
        std::string answer = "still root";
        if (setgid(kNobody) == 0 && setuid(kNobody) == 0) answer = action();
        bool const isWritten =
            write(ends[1], answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
        _exit(isWritten ? 0 : 1);
    }
    close(ends[1]);
    std::string answer;
    char buffer[512];
    for (ssize_t size; (size = read(ends[0], buffer, sizeof buffer)) > 0;)
        answer.append(buffer, static_cast<std::size_t>(size));
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return answer;
}

// Short words for what the tests of files/ look at.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "files/CFileSpec.h"
#include "files/CFileSpecIterator.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

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

// `loamctl scan`: what is in a folder, and what of it can be read.
#pragma once

#include <string>
#include <vector>

class COutput;

struct ScanOptions
{
    std::vector<std::string> mPaths;
    bool mFollowLinks = false;
};

/// The program's exit code: 0, or 2 if something could not be looked at.
int RunScan(ScanOptions const& options, COutput& output);

#include "loamctl/Command.h"

#include <CLI/CLI.hpp>

void AddPaths(CLI::App& command, std::vector<std::string>& paths)
{
    command.add_option("PATH", paths, "Files and folders; by default this folder")
        ->option_text("...");
}

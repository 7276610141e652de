// How a helper program is run, watched and ended, and how its two outputs become one text: the
// portable part of `ExecuteSubprocess`. Any thread may call.
#pragma once

#include <string>
#include <vector>

class CBasicSubprocess;

/// What `status` tells of a program that isn't there.
constexpr int kSubprocessNotFound = -43;

/// Runs a program to its end and collects what it printed, all of it UTF-8:
///
/// | output | errors | text |
/// |---|---|---|
/// | none | none | empty |
/// | some | none | the output |
/// | none | some | "stderr:\n" and the errors |
/// | some | some | the output, "\n\nstderr:\n" and the errors |
///
/// False, with an empty text, if the program can't be started or its output isn't UTF-8; errors
/// that aren't are left out. `status` may be null; it becomes `kSubprocessNotFound` if there is no
/// file at `launchPath`, and otherwise 0.
///
/// With a timeout above 0 it waits as `WaitForSubprocess` does, else (NaN too) for as long as the
/// program runs. Only then are the outputs read, errors last, without a limit of time: a program
/// that fills a pipe doesn't get on until a signal ends it, and whoever holds its outputs open,
/// a child of its own too, holds the caller.
bool RunSubprocess(std::string const& launchPath,
                   std::vector<std::string> const& arguments,
                   float timeoutSeconds,
                   std::string& text,
                   int* status);

/// Waits until the child has ended. After `timeoutSeconds` it is interrupted, and if it still runs
/// a second later terminated; then nothing is waited for any more. Times are those of the system's
/// clock, and looked at ten times a second.
void WaitForSubprocess(CBasicSubprocess& child, float timeoutSeconds);

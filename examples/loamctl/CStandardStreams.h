// The streams of the process: standard output and standard error, as they are.
#pragma once

#include <exception>

#include "loamctl/CBasicSink.h"

class CProgress;

/// The reader of our output has had enough, as `head` has.
class COutputClosed : public std::exception
{
};

/// For one thread. The progress line is taken away before anything is written.
class CStandardStreams : public CBasicSink
{
public:
    /// `progress` lives as long.
    explicit CStandardStreams(CProgress& progress);

    /// Throws `COutputClosed`, `CInterrupted`, or `std::system_error` for any other failure.
    void Write(std::string_view lines) override;
    /// What can't be written is lost.
    void WriteError(std::string_view lines) override;
    /// An empty line in front of all groups but the first.
    void BeginGroup() override;

private:
    CProgress& mProgress;
    bool mAnyGroup = false;
};

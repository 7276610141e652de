// Where `COutput` leaves what it has put together.
#pragma once

#include <string>
#include <string_view>

class CBasicSink
{
public:
    CBasicSink() = default;
    CBasicSink(CBasicSink const&) = delete;
    CBasicSink& operator=(CBasicSink const&) = delete;
    virtual ~CBasicSink() = default;

    /// Takes whole lines for standard output.
    virtual void Write(std::string_view lines) = 0;
    /// Takes whole lines for standard error.
    virtual void WriteError(std::string_view lines) = 0;
    /// What follows on standard output belongs together and stands apart from what came before.
    virtual void BeginGroup() = 0;
};

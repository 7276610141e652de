#include "loamctl/Serve.h"

#include <charconv>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CServer.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "marl/HierarchicalException.h"

namespace {

constexpr char const* kNotes =
    R"(A client asks by a line, such as `search cafe`, `words letters/a.txt` or `facts letters`, and
gets JSON Lines, the last of which is {"type":"end"} or {"type":"error",...}. Clients can't
look outside the folder. Only this machine is served, unless --all is given; there are no
passwords. Ctrl-C ends all connections.)";

struct ServeOptions
{
    std::string mFolder = ".";
    std::string mPorts = "8025";
    bool mAll = false;
};

struct Ports
{
    unsigned short mFirst = 0;
    unsigned short mLast = 0;
};

// "A" or "A-B".
bool ParsePorts(std::string_view text, Ports& ports)
{
    auto const parse = [](std::string_view number, unsigned short& port) {
        char const* const end = number.data() + number.size();
        auto const [stop, error] = std::from_chars(number.data(), end, port);
        return error == std::errc() && stop == end;
    };
    std::size_t const dash = text.find('-');
    if (!parse(text.substr(0, dash), ports.mFirst)) return false;
    ports.mLast = ports.mFirst;
    if (dash == std::string_view::npos) return true;
    return parse(text.substr(dash + 1), ports.mLast) && ports.mFirst <= ports.mLast;
}

std::string CheckPorts(std::string const& text)
{
    Ports ports;
    return ParsePorts(text, ports) ? "" : "Not a port or a range of ports: " + text;
}

// Makes the folder the working one, so that paths are told from there, and answers its own path.
std::string Enter(std::string const& folder)
{
    std::error_code error;
    std::filesystem::current_path(folder, error);
    if (error) throw CUsageError(fmt::format("{}: {}", SafeName(folder), error.message()));
    return std::filesystem::canonical(".").string();
}

int Serve(ServeOptions const& options, Session& session)
{
    Ports ports;
    ParsePorts(options.mPorts, ports);
    std::string const root = Enter(options.mFolder);
    session.mInterruption.Start();
    std::unique_ptr<CServer> server;
    try {
        server =
            std::make_unique<CServer>(root, options.mAll, ports.mFirst, ports.mLast, session.mLog);
    } catch (HierarchicalException const& failure) {
        throw CUsageError(fmt::format("port {}: {}", options.mPorts, DescribeFailure(failure)));
    }
    COutput& output = session.mOutput;
    if (output.IsJSON()) {
        output.AddJSON({{"type", "server"}, {"path", root}, {"port", server->GetPort()}});
    } else {
        output.Add(fmt::format("serving {} on port {}", SafeName(root), server->GetPort()));
        output.EndLine();
    }
    output.Flush();
    {
        StAbortOnInterrupt const stop([&server] { server->Stop(); });
        server->Run();
    }
    ThrowIfInterrupted();
    return 0;
}

}  // namespace

Command AddServe(CArguments program)
{
    CArguments serve =
        program.AddCommand("serve", "Answer questions about a folder's documents over TCP");
    auto const options = std::make_shared<ServeOptions>();
    serve.Add("FOLDER", options->mFolder, "What is served; by default this folder");
    serve
        .Add("--port", options->mPorts,
             "The port, or the first free one of a range; 8025, or 0 for any")
        .Checked(CheckPorts)
        .Shown("A[-B]");
    serve.AddFlag("--all", options->mAll, "Serve all machines that can reach this one");
    serve.SetNotes(kNotes);
    return {serve, [options](Session& session) { return Serve(*options, session); }};
}

#include "loamctl/Browse.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <net/if.h>
#include <nlohmann/json.hpp>

#include "loamctl/CInbox.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "net/CNetServiceBrowser.h"
#include "net/CNetServiceBrowserListener.h"

namespace {

constexpr char const* kNotes =
    R"(TYPE is that of DNS-SD, such as _http._tcp. A line that begins with + tells of a service that
came, one with - of a service that went, once for each network interface. Ends by Ctrl-C.)";

constexpr unsigned int kThisMachine = static_cast<unsigned int>(-1);

using Pairs = std::vector<std::pair<std::string, std::string>>;

struct Change
{
    bool mAdded;
    std::string mName;
    std::string mHost;
    int mPort;
    Pairs mPairs;
    unsigned int mInterface;
};

class CChanges final : public CNetServiceBrowserListener
{
public:
    void ServiceChanged(CNetServiceBrowser* /*browser*/,
                        bool added,
                        char const* name,
                        char const* host,
                        unsigned short port,
                        Pairs* txt,
                        unsigned int interfaceIndex) override
    {
        mInbox.Add({added, name, host, port, std::move(*txt), interfaceIndex});
    }

    void BrowseBatchDone(CNetServiceBrowser* /*browser*/) override {}

    CInbox<Change> mInbox;
};

// Empty if it has gone meanwhile.
std::string NameOfInterface(unsigned int index)
{
    char name[IF_NAMESIZE] = {};
    if (index == kThisMachine) return "this machine";
    return if_indextoname(index, name) ? name : "";
}

void Show(Change const& change, COutput& output)
{
    std::string const interface = NameOfInterface(change.mInterface);
    if (output.IsJSON()) {
        output.AddJSON({{"type", "service"},
                        {"added", change.mAdded},
                        {"name", change.mName},
                        {"host", change.mHost},
                        {"port", change.mPort},
                        {"txt", change.mPairs},
                        {"interface", interface}});
        return;
    }
    output.Add(change.mAdded ? "+ " : "- ");
    output.Add(output.Painted(COutput::Style::kPath, SafeName(change.mName)));
    output.Add(
        fmt::format("  {}:{}  on {}", SafeName(change.mHost), change.mPort, SafeName(interface)));
    for (auto const& [key, value] : change.mPairs)
        output.Add(fmt::format("  {}={}", SafeName(key), SafeName(value)));
    output.EndLine();
}

int Browse(std::string const& type, Session& session)
{
    // Before the library starts its thread, which is then no place for the signals either.
    session.mInterruption.Start();
    CChanges changes;
    StAbortOnInterrupt const onInterrupt([&] { changes.mInbox.Close(); });
    CNetServiceBrowser browser;
    if (!browser.BrowseService(type.c_str(), true, false, &changes))
        throw std::runtime_error(
            fmt::format("services of type {} can't be looked for", SafeName(type)));
    for (std::vector<Change> news; changes.mInbox.Take(news);) {
        for (Change const& change : news)
            Show(change, session.mOutput);
        session.mOutput.Flush();
    }
    ThrowIfInterrupted();
    return 0;
}

}  // namespace

Command AddBrowse(CArguments program)
{
    CArguments browse =
        program.AddCommand("browse", "Tell which services are on the network, as they come and go");
    auto const type = std::make_shared<std::string>();
    browse.Add("TYPE", *type, "What to look for, such as _http._tcp").Required();
    browse.SetNotes(kNotes);
    return {browse, [type](Session& session) { return Browse(*type, session); }};
}

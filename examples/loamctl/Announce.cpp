#include "loamctl/Announce.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CInbox.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "net/CNetService.h"
#include "net/CNetServiceListener.h"

namespace {

constexpr char const* kNotes =
    R"(TYPE is that of DNS-SD, such as _http._tcp. A name that is taken gets a number behind it. The
service can be found until loamctl is stopped, by Ctrl-C.)";

struct AnnounceOptions
{
    std::string mName;
    std::string mType;
    unsigned short mPort = 0;
    std::vector<std::string> mPairs;
};

class CAnnouncement final : public CNetServiceListener
{
public:
    void ServiceRegistered(CNetService* /*service*/, bool success) override
    {
        mAnswers.Add(success);
    }

    CInbox<bool> mAnswers;
};

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs PairsOf(std::vector<std::string> const& texts)
{
    Pairs pairs;
    for (std::string const& text : texts) {
        std::size_t const separator = text.find('=');
        pairs.emplace_back(text.substr(0, separator), text.substr(separator + 1));
    }
    return pairs;
}

void ShowAnnounced(AnnounceOptions const& options, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "announced"},
                        {"name", options.mName},
                        {"service", options.mType},
                        {"port", options.mPort}});
    } else {
        output.Add(fmt::format("announced {} as {} at port {}", SafeName(options.mName),
                               SafeName(options.mType), options.mPort));
        output.EndLine();
    }
    output.Flush();
}

int Announce(AnnounceOptions const& options, Session& session)
{
    // Before the library starts its thread, which is then no place for the signals either.
    session.mInterruption.Start();
    CAnnouncement announcement;
    StAbortOnInterrupt const onInterrupt([&] { announcement.mAnswers.Close(); });
    Pairs const pairs = PairsOf(options.mPairs);
    CNetService service;
    if (!service.RegisterService(options.mName.c_str(), options.mType.c_str(), options.mPort,
                                 nullptr, &pairs, true, false, &announcement)) {
        throw std::runtime_error(fmt::format("{} can't be announced", SafeName(options.mName)));
    }
    for (std::vector<bool> answers; announcement.mAnswers.Take(answers);) {
        for (bool const isAnnounced : answers) {
            if (!isAnnounced) {
                throw std::runtime_error(
                    fmt::format("{} can't be found any more", SafeName(options.mName)));
            }
            ShowAnnounced(options, session.mOutput);
        }
    }
    ThrowIfInterrupted();
    return 0;
}

std::string CheckPair(std::string const& text)
{
    return text.find('=') == std::string::npos ? "not of the form KEY=VALUE: " + text : "";
}

}  // namespace

Command AddAnnounce(CArguments program)
{
    CArguments announce = program.AddCommand("announce", "Let a service be found on the network");
    auto const options = std::make_shared<AnnounceOptions>();
    announce.Add("NAME", options->mName, "What people see").Required();
    announce.Add("TYPE", options->mType, "What it is, such as _http._tcp").Required();
    announce.Add("PORT", options->mPort, "Where it listens").Required().InRange(1, 65535);
    announce.Add("KEY=VALUE", options->mPairs, "What else there is to know").Checked(CheckPair);
    announce.SetNotes(kNotes);
    return {announce, [options](Session& session) { return Announce(*options, session); }};
}

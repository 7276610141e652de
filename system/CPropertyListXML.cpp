// Property lists as XML, in the desktop's own layout.
#include "security/CBase64Encoder.h"
#include "system/CPropertyList.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\""
                                   " \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                   "<plist version=\"1.0\">\n";
constexpr std::string_view kTail = "</plist>\n";

// A line of Base64 and its tabs, each taken for eight columns and no more than eight of them.
constexpr std::size_t kColumns = 76;
constexpr std::size_t kTabColumns = 8;
constexpr std::size_t kMaxTabs = 8;

std::string RealText(double number)
{
    if (std::isnan(number)) return "nan";
    if (std::isinf(number)) return number > 0 ? "+infinity" : "-infinity";
    if (number == 0) return "0.0";
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::setprecision(17) << number;
    return text.str();
}

std::string DateText(CPropertyList::Date date)
{
    using namespace std::chrono;
    sys_seconds const time{seconds(date.mSeconds)};
    auto const day = floor<days>(time);
    year_month_day const calendar(day);
    hh_mm_ss const hour(time - day);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    auto const two = [&text](auto number) -> std::ostream& {
        return text << std::setw(2) << number;
    };
    text << std::setfill('0') << std::setw(4) << static_cast<int>(calendar.year()) << '-';
    two(static_cast<unsigned>(calendar.month())) << '-';
    two(static_cast<unsigned>(calendar.day())) << 'T';
    two(hour.hours().count()) << ':';
    two(hour.minutes().count()) << ':';
    two(hour.seconds().count()) << 'Z';
    return text.str();
}

class CWriter
{
public:
    void Write(CPropertyList const& value, std::size_t tabs)
    {
        value.Visit([this, tabs](auto const& content) { WriteContent(content, tabs); });
    }

    std::string mText{kHead};

private:
    void WriteContent(CPropertyList::Dictionary const& members, std::size_t tabs)
    {
        if (members.empty()) return WriteLine("<dict/>", tabs);
        WriteLine("<dict>", tabs);
        for (CPropertyList::Member const& member : members) {
            WriteElement("key", member.mKey, tabs + 1);
            Write(member.mValue, tabs + 1);
        }
        WriteLine("</dict>", tabs);
    }

    void WriteContent(CPropertyList::Array const& values, std::size_t tabs)
    {
        if (values.empty()) return WriteLine("<array/>", tabs);
        WriteLine("<array>", tabs);
        for (CPropertyList const& value : values)
            Write(value, tabs + 1);
        WriteLine("</array>", tabs);
    }

    void WriteContent(std::string const& text, std::size_t tabs)
    {
        WriteElement("string", text, tabs);
    }

    void WriteContent(std::int64_t number, std::size_t tabs)
    {
        WriteElement("integer", std::to_string(number), tabs);
    }

    void WriteContent(double number, std::size_t tabs)
    {
        WriteElement("real", RealText(number), tabs);
    }

    void WriteContent(bool flag, std::size_t tabs)
    {
        WriteLine(flag ? "<true/>" : "<false/>", tabs);
    }

    void WriteContent(CPropertyList::Date date, std::size_t tabs)
    {
        WriteElement("date", DateText(date), tabs);
    }

    void WriteContent(CPropertyList::Data const& data, std::size_t tabs)
    {
        std::string text;
        CBase64Encoder::EncodeHeaderStr(std::string(data.begin(), data.end()), &text);
        std::size_t const indent = std::min(tabs, kMaxTabs);
        std::size_t const columns = kColumns - kTabColumns * indent;
        WriteLine("<data>", tabs);
        for (std::size_t at = 0; at < text.size(); at += columns) {
            WriteLine(std::string_view(text).substr(at, columns), indent);
        }
        WriteLine("</data>", tabs);
    }

    void WriteLine(std::string_view line, std::size_t tabs)
    {
        mText.append(tabs, '\t').append(line) += '\n';
    }

    void WriteElement(std::string_view name, std::string_view text, std::size_t tabs)
    {
        mText.append(tabs, '\t').append(1, '<').append(name) += '>';
        for (std::size_t from = 0; from < text.size();) {
            std::size_t const to = std::min(text.find_first_of("&<>", from), text.size());
            mText.append(text.substr(from, to - from));
            if (to < text.size())
                mText += text[to] == '&' ? "&amp;" : text[to] == '<' ? "&lt;" : "&gt;";
            from = to + 1;
        }
        mText.append("</").append(name).append(">\n");
    }
};

}  // namespace

std::string CPropertyList::ToXML() const
{
    CWriter writer;
    writer.Write(*this, 0);
    return std::move(writer.mText.append(kTail));
}

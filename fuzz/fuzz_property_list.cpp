// Property lists out of any bytes: what is read keeps to the limits, and is read again from the XML
// that it is written as. The first byte of the input tells what the rest is: a whole list, what
// stands between the outermost tags, or the objects of a binary list, whose table is made here.
#include "system/CPropertyList.h"
#include "system/PropertyListLimits.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

int LevelsOf(CPropertyList const& list)
{
    int below = 0;
    if (auto const* const values = list.As<CPropertyList::Array>()) {
        for (CPropertyList const& value : *values)
            below = std::max(below, LevelsOf(value));
    } else if (auto const* const members = list.As<CPropertyList::Dictionary>()) {
        for (CPropertyList::Member const& member : *members)
            below = std::max(below, LevelsOf(member.mValue));
    }
    return below + 1;
}

// Each byte of the input a marker or what belongs to one: an object begins at every eighth byte.
std::string MakeBinary(std::string const& objects)
{
    constexpr std::size_t kEach = 8;
    constexpr std::size_t kMostObjects = 200;
    std::size_t const count = std::min(objects.size() / kEach + 1, kMostObjects);
    std::string bytes = "bplist00" + objects;
    std::size_t const table = bytes.size();
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t const at = 8 + i * kEach;
        bytes += static_cast<char>(at >> 8);
        bytes += static_cast<char>(at);
    }
    bytes += std::string(6, '\0') + "\2\1" + std::string(7, '\0') + static_cast<char>(count) +
             std::string(14, '\0') + static_cast<char>(table >> 8) + static_cast<char>(table);
    return bytes;
}

std::string MakeList(unsigned form, std::string const& bytes)
{
    if (form % 3 == 1) return "<plist>" + bytes + "</plist>";
    if (form % 3 == 2) return MakeBinary(bytes.substr(0, 60000));
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 1) return 0;
    std::string const rest(reinterpret_cast<char const*>(data) + 1, size - 1);
    auto const list = CPropertyList::Read(MakeList(data[0], rest));
    if (!list) return 0;
    Require(LevelsOf(*list) <= CPropertyList::kMaxDepth);

    std::string const xml = list->ToXML();
    auto const again = CPropertyList::Read(xml);
    Require(again.has_value() == IsWithinPropertyListLimits(xml));
    // By the text, since what is no number equals nothing.
    if (again) Require(again->ToXML() == xml);
    return 0;
}

#include "system/platform/PropertyListParser.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace {

struct Freer
{
    void operator()(void* memory) const { std::free(memory); }
};

struct ListFreer
{
    void operator()(plist_t list) const { plist_free(list); }
};

// From 1970 to 2001, where the dates of property lists begin.
constexpr std::int64_t kSecondsTo2001 = 978307200;

// libplist moves the rest of a text for each reference in it, which takes many seconds where a
// megabyte is full of them. It does so piece by piece, and a comment begins a new piece.
constexpr std::ptrdiff_t kManyReferences = 1000;
constexpr std::string_view kComment = "<!---->";

bool HasManyReferences(std::string_view xml)
{
    return std::count(xml.begin(), xml.end(), '&') > kManyReferences;
}

// The size of the markup that `xml` begins with. Its form is that which the limits let through.
std::size_t SizeOfMarkup(std::string_view xml)
{
    std::string_view const end = xml.starts_with("<!--")        ? "-->"
                                 : xml.starts_with("<![CDATA[") ? "]]>"
                                                                : ">";
    return std::min(xml.find(end, end.size()), xml.size() - end.size()) + end.size();
}

// The same list, with a comment behind every few references of a text.
std::string SplitTexts(std::string_view xml)
{
    constexpr int kEach = 64;
    std::string split;
    int references = 0;
    while (!xml.empty()) {
        std::size_t size = 1;
        if (xml.front() == '<') {
            size = SizeOfMarkup(xml);
        } else {
            size = std::min(xml.find_first_of("<;"), xml.size());
            if (size < xml.size() && xml[size] == ';') ++size;
        }
        split.append(xml.substr(0, size));
        if (xml[size - 1] == ';' && ++references % kEach == 0) split += kComment;
        xml.remove_prefix(size);
    }
    return split;
}

std::optional<CPropertyList> ValueOf(plist_t node);

std::optional<CPropertyList> StringOf(plist_t node)
{
    std::uint64_t length = 0;
    char const* const text = plist_get_string_ptr(node, &length);
    if (!text || !CPropertyList::IsText({text, length})) return std::nullopt;
    return CPropertyList(std::string(text, length));
}

std::optional<CPropertyList> DataOf(plist_t node)
{
    std::uint64_t length = 0;
    auto const* const bytes =
        reinterpret_cast<unsigned char const*>(plist_get_data_ptr(node, &length));
    return CPropertyList(CPropertyList::Data(bytes, bytes + length));
}

std::optional<CPropertyList> ArrayOf(plist_t node)
{
    plist_array_iter made = nullptr;
    plist_array_new_iter(node, &made);
    std::unique_ptr<void, Freer> const iterator(made);
    CPropertyList::Array array;
    for (plist_t item = nullptr; plist_array_next_item(node, made, &item), item;) {
        auto value = ValueOf(item);
        if (!value) return std::nullopt;
        array.push_back(std::move(*value));
    }
    return CPropertyList(std::move(array));
}

std::optional<CPropertyList> DictionaryOf(plist_t node)
{
    plist_dict_iter made = nullptr;
    plist_dict_new_iter(node, &made);
    std::unique_ptr<void, Freer> const iterator(made);
    CPropertyList::Dictionary members;
    for (plist_t item = nullptr;;) {
        char* madeKey = nullptr;
        plist_dict_next_item(node, made, &madeKey, &item);
        std::unique_ptr<char, Freer> const key(madeKey);
        if (!item) return CPropertyList(std::move(members));
        auto value = ValueOf(item);
        if (!key || !value || !CPropertyList::IsText(key.get())) return std::nullopt;
        members.push_back({key.get(), std::move(*value)});
    }
}

std::optional<CPropertyList> ValueOf(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_DICT:
        return DictionaryOf(node);
    case PLIST_ARRAY:
        return ArrayOf(node);
    case PLIST_STRING:
        return StringOf(node);
    case PLIST_DATA:
        return DataOf(node);
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return CPropertyList(static_cast<std::int64_t>(number));
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return CPropertyList(number);
    }
    case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return CPropertyList(flag != 0);
    }
    case PLIST_DATE: {
        std::int32_t seconds = 0;
        std::int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return CPropertyList(CPropertyList::Date{seconds + kSecondsTo2001});
    }
    default:
        return std::nullopt;
    }
}

}  // namespace

std::optional<CPropertyList> ParsePropertyList(std::string_view bytes)
{
    plist_t made = nullptr;
    // By name, since the reader for either form takes more forms from one version to the next.
    bool const isBinary = bytes.starts_with("bplist");
    std::string split;
    if (!isBinary && HasManyReferences(bytes)) bytes = split = SplitTexts(bytes);
    auto const read = isBinary ? plist_from_bin : plist_from_xml;
    read(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &made);
    std::unique_ptr<void, ListFreer> const list(made);
    return made ? ValueOf(made) : std::nullopt;
}

// Property lists: the small trees of values in which the desktop keeps what its services are told.
//
//     auto const list = CPropertyList::Read(bytes);
//     auto const* const url = list ? list->FindAs<std::string>("URL") : nullptr;
//
// Lists come from outside, so reading takes nothing on trust: `kMaxBytes`, `kMaxDepth`,
// `kMaxMembers` and `kMaxWeight` bound the time, the memory and the stack that any input can cost,
// and what is beyond them is not a list. Text is UTF-8. A value; any thread may use its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// One value of a list, and so a whole list.
class CPropertyList
{
public:
    struct Member;

    /// Whole seconds since 1970-01-01 00:00:00 UTC; fractions are cut off.
    struct Date
    {
        std::int64_t mSeconds = 0;

        bool operator==(Date const&) const = default;
    };

    using Data = std::vector<unsigned char>;
    using Array = std::vector<CPropertyList>;
    /// In the order of the keys, by their bytes, each of which is there once.
    using Dictionary = std::vector<Member>;
    using Value =
        std::variant<Dictionary, Array, std::string, std::int64_t, double, bool, Date, Data>;

    /// Bytes of the longest list that is read.
    static constexpr std::size_t kMaxBytes = 1 << 20;
    /// Levels of the deepest list that is read, the outermost one counted.
    static constexpr int kMaxDepth = 100;
    /// Members of the largest dictionary that is read, each as often as it is named. Readers look
    /// for a key among those before it, and keys can be made that they have to look at one by one.
    static constexpr std::size_t kMaxMembers = 2048;
    /// A binary list can refer to a value many times over. This is about how many bytes it may come
    /// to once each value stands in every place where it belongs.
    static constexpr std::uint64_t kMaxWeight = 16 << 20;

    /// An empty dictionary.
    CPropertyList() = default;
    /// The members of a dictionary may come in any order; of those with one key the last counts.
    explicit CPropertyList(Value value);

    /// Reads a list, XML or binary, and on the desktop also the braces of old. Nothing if `bytes`
    /// is not a list or beyond the limits. XML is UTF-8, with or without a byte order mark; in
    /// another encoding, with a document type of its own or cut short it is not a list. Of members
    /// with one key the last counts. Whole numbers are those of 64 bits with a sign. On Linux dates
    /// run from 1933 to 2069.
    static std::optional<CPropertyList> Read(std::string_view bytes);

    /// True if `text` can be a string or a key: UTF-8 without a zero byte.
    static bool IsText(std::string_view text);

    /// The value if it is of this type, else null. Lives as long as the list and as it isn't
    /// changed.
    template <class T>
    T const* As() const
    {
        return std::get_if<T>(&mValue);
    }

    /// Calls `visitor` with the value, whatever its type.
    template <class Visitor>
    void Visit(Visitor&& visitor) const
    {
        std::visit(std::forward<Visitor>(visitor), mValue);
    }

    /// The member with this key; null where there is none or this is no dictionary.
    CPropertyList const* Find(std::string_view key) const;

    /// The member with this key if it is of this type, else null.
    template <class T>
    T const* FindAs(std::string_view key) const;

    /// Adds a member or replaces it. What is no dictionary becomes one first.
    void Set(std::string_view key, CPropertyList value);

    /// The list as XML, byte for byte as the desktop writes it: header, document type, a tab for
    /// each level, members in the order of their keys, a line end behind the last line. Equal lists
    /// give equal bytes. Strings and keys are written as they are, with "&", "<" and ">" escaped;
    /// see `IsText` for what makes that a list that can be read.
    std::string ToXML() const;

    bool operator==(CPropertyList const& other) const;

private:
    Value mValue;
};

struct CPropertyList::Member
{
    std::string mKey;
    CPropertyList mValue;

    bool operator==(Member const&) const = default;
};

template <class T>
T const* CPropertyList::FindAs(std::string_view key) const
{
    CPropertyList const* const member = Find(key);
    return member ? member->As<T>() : nullptr;
}

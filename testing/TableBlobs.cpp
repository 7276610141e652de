#include "testing/TableBlobs.h"

#include <algorithm>
#include <bit>
#include <map>

namespace {

constexpr std::size_t kGroupSize = 8;
constexpr char16_t kNoIndex = 0xFFFF;

std::string InHostOrder(std::string bytes)
{
    bytes.resize((bytes.size() + kGroupSize - 1) / kGroupSize * kGroupSize);
    if (std::endian::native == std::endian::little) {
        for (auto at = bytes.begin(); at != bytes.end(); at += kGroupSize) {
            std::reverse(at, at + kGroupSize);
        }
    }
    return bytes;
}

void AppendWords(std::string& stream, std::u16string const& words)
{
    for (char16_t const word : words) {
        stream += static_cast<char>(word >> 8);
        stream += static_cast<char>(word & 0xFF);
    }
}

std::u16string WordsAt(std::string const& stream, std::size_t at, std::size_t count)
{
    std::u16string words;
    for (; words.size() < count; at += 2) {
        auto const high = static_cast<unsigned char>(stream.at(at));
        auto const low = static_cast<unsigned char>(stream.at(at + 1));
        words += static_cast<char16_t>(high << 8 | low);
    }
    return words;
}

}  // namespace

TableBlob StoreBlob(std::string const& stream, int length)
{
    std::string const cut =
        length < 0 ? stream : stream.substr(0, static_cast<std::size_t>(length));
    std::string const stored = InHostOrder(cut);
    TableBlob blob;
    blob.mBytes.assign(stored.begin(), stored.end());
    blob.mBytes.shrink_to_fit();
    blob.mLength = static_cast<int>(cut.size());
    return blob;
}

std::string StreamOf(signed char const* blob, int length)
{
    std::size_t const size = static_cast<std::size_t>(length);
    std::size_t const stored = (size + kGroupSize - 1) / kGroupSize * kGroupSize;
    return InHostOrder(std::string(blob, blob + stored)).substr(0, size);
}

std::string StreamOf(MappingRecord const& record)
{
    std::string stream(1, static_cast<char>(record.mPage));
    AppendWords(stream, {static_cast<char16_t>(record.mData.size())});
    AppendWords(stream, record.mData);
    stream += static_cast<char>(record.mFirst);
    stream += static_cast<char>(record.mFirst + record.mIndex.size() - 1);
    AppendWords(stream, record.mIndex);
    return stream;
}

std::string StreamOf(UnitMapping const& mapping)
{
    std::map<int, MappingRecord> records;
    for (auto const& [unit, to] : mapping) {
        auto const low = static_cast<unsigned char>(unit & 0xFF);
        MappingRecord& record = records[unit >> 8];
        if (record.mIndex.empty()) record.mFirst = low;
        record.mPage = static_cast<unsigned char>(unit >> 8);
        record.mIndex.resize(low - record.mFirst + 1U, kNoIndex);
        record.mIndex.back() = static_cast<char16_t>(record.mData.size());
        record.mData += static_cast<char16_t>(to.size());
        record.mData += to;
    }
    std::string stream;
    for (auto const& [page, record] : records)
        stream += StreamOf(record);
    return stream;
}

std::vector<MappingRecord> MappingRecordsOf(std::string const& stream)
{
    std::vector<MappingRecord> records;
    for (std::size_t at = 0; at + 3 <= stream.size();) {
        MappingRecord record;
        record.mPage = static_cast<unsigned char>(stream[at]);
        std::size_t const count = WordsAt(stream, at + 1, 1)[0];
        at += 3;
        if (at + 2 * count + 2 > stream.size()) break;
        record.mData = WordsAt(stream, at, count);
        at += 2 * count;
        record.mFirst = static_cast<unsigned char>(stream[at]);
        std::size_t const indexed =
            static_cast<unsigned char>(stream[at + 1]) + std::size_t{1} - record.mFirst;
        at += 2;
        if (at + 2 * indexed > stream.size()) break;
        record.mIndex = WordsAt(stream, at, indexed);
        at += 2 * indexed;
        records.push_back(record);
    }
    return records;
}

UnitMapping MappingOf(std::vector<MappingRecord> const& records)
{
    UnitMapping mapping;
    for (MappingRecord const& record : records) {
        for (std::size_t each = 0; each < record.mIndex.size(); ++each) {
            std::size_t const at = record.mIndex[each];
            if (at == kNoIndex) continue;
            std::size_t const page = record.mPage;
            auto const unit = static_cast<char16_t>((page << 8 | record.mFirst) + each);
            mapping[unit] = record.mData.substr(at + 1, record.mData.at(at));
        }
    }
    return mapping;
}

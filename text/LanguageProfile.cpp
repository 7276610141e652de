#include "text/GramHash.h"
#include "text/LanguageGuesser.h"

#include <cmath>

extern "C" {

uint32_t UdmCRC32(char const* buffer, size_t length)
{
    uint32_t crc = kCRC32Start;
    for (size_t i = 0; i < length; ++i)
        crc = NextCRC32(crc, static_cast<unsigned char>(buffer[i]));
    return ~crc;
}

void UdmPrepareLangMap(UDM_LANGMAP* map)
{
    long long sum = 0;
    for (UDM_LANGITEM const& item : map->memb)
        sum += item.count;
    map->mean = static_cast<float>(sum) / UDM_LM_BUCKETS;

    // Four sums side by side: one would wait for itself at every step.
    double squares[4] = {};
    for (size_t i = 0; i < UDM_LM_BUCKETS; i += 4) {
        for (size_t k = 0; k < 4; ++k) {
            double const deviation = map->memb[i + k].count - static_cast<double>(map->mean);
            squares[k] += deviation * deviation;
        }
    }
    double const total = squares[0] + squares[1] + squares[2] + squares[3];
    map->std = static_cast<float>(std::sqrt(total / UDM_LM_BUCKETS));
}

float UdmCheckLangMap(UDM_LANGMAP const* a, UDM_LANGMAP const* b)
{
    double const stdOfA = a->std;
    double const stdOfB = b->std;
    if (stdOfA < UDM_LM_LEASTSTD || stdOfB < UDM_LM_LEASTSTD) return 0;
    double const meanOfA = a->mean;
    double const meanOfB = b->mean;
    double sum = 0;
    for (size_t i = 0; i < UDM_LM_BUCKETS; ++i)
        sum += (a->memb[i].count - meanOfA) * (b->memb[i].count - meanOfB);
    return static_cast<float>(sum / UDM_LM_BUCKETS / (stdOfA * stdOfB));
}
}

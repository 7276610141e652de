// Names and TXT records of services, as DNS-SD (RFC 6763) has them on the wire.
//
// No state; any thread may call.
#pragma once

#include <string>
#include <utility>
#include <vector>

class memblock;

/// Key and value, in the order of the record.
using NetServicePairs = std::vector<std::pair<std::string, std::string>>;

/// Appends to `record`, for each pair, a byte with the length of key=value and then that text, both
/// cut to 255 bytes.
void AppendTXTRecord(NetServicePairs const& pairs, memblock& record);

/// The pairs of a record of `length` bytes; an entry that the end of the record cuts off is taken
/// as far as it goes. Entries without "=" are dropped. A record of less than 2 bytes has no pairs.
NetServicePairs ParseTXTRecord(unsigned char const* record, unsigned int length);

/// The first label of a service's full name, without escapes: a backslash and three decimal digits
/// stand for the byte of that number (modulo 256), a backslash and anything else for the latter.
/// One at the very end stays.
std::string PlainServiceName(char const* fullName);

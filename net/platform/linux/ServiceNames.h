// The names of services as the desktop platform handles them, where Avahi does otherwise.
//
// Text is UTF-8. No state; any thread may call.
#pragma once

#include <string>
#include <string_view>

/// The start of `name` that fits into a DNS label of 63 bytes, cut between characters.
std::string FittingServiceName(std::string_view name);

/// What to try when `name` is taken: "Scans" becomes "Scans (2)", and that "Scans (3)". The text in
/// front of the number is cut so that all fits into a label.
std::string NextServiceName(std::string_view name);

/// `name`, `type` and `domain` as one domain name, with a dot at its end. Within the name dots and
/// backslashes get a backslash in front, blanks and control characters become backslash and three
/// decimal digits (RFC 6763, 4.3).
std::string FullServiceName(std::string_view name, std::string_view type, std::string_view domain);

/// `domainName` with one dot at its end, and without one.
std::string WithDot(std::string_view domainName);
std::string WithoutDot(std::string_view domainName);

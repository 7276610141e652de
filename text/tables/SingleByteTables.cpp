#include "text/tables/SingleByteTables.h"

// Made by the compiler: there is nothing to initialise when the library is loaded.
constinit UnitsOfBytes const cISO_8859_15ToUTF16 = MakeISO_8859_15();
constinit UnitsOfBytes const cWindows1252ToUTF16 = MakeWindows1252();
constinit UnitsOfBytes const cMacRomanToUTF16 = MakeMacRoman();

constinit CBytesOfUnits const cUTF16ToISO_8859_15{MakeISO_8859_15()};
constinit CBytesOfUnits const cUTF16ToWindows1252{MakeWindows1252()};
constinit CBytesOfUnits const cUTF16ToMacRoman{MakeMacRoman()};

#include "files/FileSpecConstants.h"

char16_t const s_tmpPath[] = u"/tmp";
char16_t const s_homePath[] = u"~";
char16_t const s_rootPath[] = u"/";
char16_t const s_dot[] = u".";
char16_t const s_dotDot[] = u"..";
char16_t const s_underscore[] = u"_";
char16_t const s_underscoreUnderscore[] = u"__";
char16_t const s_mountPoint[] = u"/Volumes/";

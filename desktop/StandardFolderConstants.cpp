#include "desktop/StandardFolderConstants.h"

char16_t const logs[] = u"/Logs";
char16_t const temporaryPublicItems[] = u"/TemporaryPublicItems";

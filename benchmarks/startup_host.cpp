// A host that does nothing. `bench_startup` runs it with the library and without.
#include <string>

#ifdef LOAM_IS_LINKED
#include "system/CDateTimeServices.h"
#endif

int main(int count, char** arguments)
{
    // Never true: there to be linked.
    if (count > 1000) {
#ifdef LOAM_IS_LINKED
        CDateTimeServices::GetDateTimeServices();
#endif
        return static_cast<int>(std::string(arguments[0]).append("!").size());
    }
    return 0;
}

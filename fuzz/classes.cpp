#include "fuzz/fuzz.h"

namespace fuzz {

const platform::ClassTable &classes()
{
    static const platform::ClassTable table = [] {
        platform::ClassTable made;
        platform::addFoundationClasses(made);
        platform::addAppKitClasses(made);
        return made;
    }();
    return table;
}

} // namespace fuzz

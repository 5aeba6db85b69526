#include "Platform/UserDefaults.h"

namespace corvid {

namespace {
UserDefaults *standardStore = nullptr;
}

UserDefaults &UserDefaults::standard() {
    if (!standardStore)
        qFatal("the standard user defaults were used before the platform installed them");
    return *standardStore;
}

void UserDefaults::installStandard(UserDefaults *store) {
    standardStore = store;
}

} // namespace corvid

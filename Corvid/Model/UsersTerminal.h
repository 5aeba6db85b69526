#pragma once

#include "Base/Records.h"

#include <QObject>

#include <functional>
#include <optional>

namespace corvid {

class AppCatalog;
class Workspace;

/** The user's terminal as an application, found out by the desktop when somebody asks, once until
    it is to be found anew. Main thread only. Absent until it is found, and where there is none. */
class UsersTerminal {
public:
    /** `onFound`: called when it is another one than before. */
    UsersTerminal(Workspace &workspace, std::function<void()> onFound);

    /** As it was found last. */
    const std::optional<AppEntry> &entry() const { return entry_; }
    /** The catalog, which tells more of it, outlives this. */
    void find(const AppCatalog &catalog);
    void findAnew() { sought_ = false; }

private:
    Workspace &workspace_;
    const std::function<void()> onFound_;
    std::optional<AppEntry> entry_;
    bool sought_ = false;
    QObject receiver_; ///< of what the desktop answers
};

} // namespace corvid

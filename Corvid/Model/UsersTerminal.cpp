#include "Model/UsersTerminal.h"

#include "AppCatalog.h"
#include "Platform/Workspace.h"

#include <QPointer>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

UsersTerminal::UsersTerminal(Workspace &workspace, std::function<void()> onFound)
    : workspace_(workspace), onFound_(std::move(onFound)) {}

void UsersTerminal::find(const AppCatalog &catalog) {
    if (std::exchange(sought_, true))
        return;
    workspace_.findTerminal([this, receiver = QPointer(&receiver_),
                             &catalog](const std::optional<Workspace::Terminal> &found) {
        if (!receiver)
            return;
        std::optional<AppEntry> terminal;
        if (found) {
            terminal = catalog.appAtPath(found->path);
            if (!terminal)
                terminal = {found->name, {}, found->path, {}, {}, {}};
            if (!terminal->roles.contains("terminal"_L1))
                terminal->roles.append(u"terminal"_s);
        }
        if (terminal == entry_)
            return;
        entry_ = terminal;
        onFound_();
    });
}

} // namespace corvid

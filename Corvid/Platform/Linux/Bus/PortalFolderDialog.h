#pragma once

#include "Platform/FolderDialog.h"
#include "Platform/Linux/Bus/Portal.h"

namespace corvid {

/**
 * The file chooser of the desktop's portal, if it can choose several folders. A portal that does
 * not answer counts as none, one that goes away as cancelled.
 */
class PortalFolderDialog final : public FolderDialog {
public:
    PortalFolderDialog();
    ~PortalFolderDialog() override;

    void choose(const QWindow &window, const QString &prompt, Done done) override;

private:
    void ask(const QString &window, const QString &prompt);
    void finish(const std::optional<QStringList> &folders);

    Portal portal_;
    Done done_; ///< empty while nothing is chosen
};

} // namespace corvid

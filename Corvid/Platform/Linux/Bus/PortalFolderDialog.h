#pragma once

#include "Platform/FolderDialog.h"

#include <QObject>

#include <thread>

namespace corvid {

/**
 * The file chooser of the desktop's portal, if it can choose several folders. Waits for it on a
 * thread of its own; a portal that does not answer counts as none, one that goes away as cancelled.
 */
class PortalFolderDialog final : public FolderDialog {
public:
    ~PortalFolderDialog() override;

    void choose(const QWindow &window, const QString &prompt, Done done) override;

private:
    quint64 choice_ = 0; ///< number of the latest
    QObject receiver_;   ///< what the thread sends is dropped with us
    std::jthread thread_;
};

} // namespace corvid

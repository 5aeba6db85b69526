#include "Catalog/ProjectBranches.h"

#include "Catalog/CheckedOutBranch.h"

#include <utility>

namespace corvid {

QString ProjectBranches::branch(const QString &projectPath) {
    if (!asked_.contains(projectPath)) {
        asked_.insert(projectPath);
        // In a later turn, with all the others of the list that is being made.
        if (wanted_.isEmpty())
            QMetaObject::invokeMethod(this, &ProjectBranches::readWanted, Qt::QueuedConnection);
        wanted_.append(projectPath);
    }
    return known_.value(projectPath);
}

void ProjectBranches::readWanted() {
    if (reading_ || wanted_.isEmpty())
        return;
    reading_ = true;
    tasks_.start([this, paths = std::exchange(wanted_, {})](const std::stop_token &stop) {
        for (const QString &path : paths) {
            if (stop.stop_requested())
                return;
            QMetaObject::invokeMethod(
                this,
                [this, path, branch = checkedOutBranch(path, volumes_)] { install(path, branch); },
                Qt::QueuedConnection);
        }
        QMetaObject::invokeMethod(
            this,
            [this] {
                reading_ = false;
                readWanted();
            },
            Qt::QueuedConnection);
    });
}

void ProjectBranches::install(const QString &projectPath, const QString &branch) {
    if (known_.value(projectPath) == branch)
        return;
    if (branch.isEmpty())
        known_.remove(projectPath);
    else
        known_.insert(projectPath, branch);
    Q_EMIT arrived(projectPath, branch);
}

} // namespace corvid

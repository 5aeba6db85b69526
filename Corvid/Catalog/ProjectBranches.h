#pragma once

#include "Base/TaskGroup.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>

namespace corvid {

class Volumes;

/**
 * The branches that projects have checked out, for those that are asked about. Main thread only,
 * and needs an event loop: branches are read in the background and arrive through it. The volumes
 * outlive it; the destructor waits for what is being read.
 */
class ProjectBranches final : public QObject {
    Q_OBJECT

public:
    explicit ProjectBranches(const Volumes &volumes, QObject *parent = nullptr)
        : QObject(parent), volumes_(volumes) {}

    /** As it was read last; empty where there is none and until it has been read. Never slow: the
        first question, and the first after renew(), has it read, and arrived() tells when there is
        another answer. See checkedOutBranch(). */
    QString branch(const QString &projectPath);

    /** From now on what was read counts as old, though it is still what branch() answers. */
    void renew() { asked_.clear(); }

Q_SIGNALS:
    void arrived(const QString &projectPath, const QString &branch);

private:
    void readWanted();
    void install(const QString &projectPath, const QString &branch);

    const Volumes &volumes_;
    QHash<QString, QString> known_; ///< without those that have none
    QSet<QString> asked_;           ///< since the last renew()
    QStringList wanted_;            ///< not read yet, nor being read
    bool reading_ = false;
    TaskGroup tasks_;
};

} // namespace corvid

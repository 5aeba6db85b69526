#pragma once

#include "Settings/FormWidgets.h"

#include <QStringList>

class QPushButton;

namespace corvid {

class FolderDialog;
class ProjectIndex;
class UserDefaults;

/** The settings' section of the folders that are searched for projects, each with a button that
    removes it. A change is stored at once and starts a scan. Main thread only. */
class FolderSection final : public FormSection {
    Q_OBJECT

public:
    /** All of them outlive the section. */
    FolderSection(UserDefaults &defaults, ProjectIndex &projects, FolderDialog &dialog);

    /** Shows the folders as they are stored. */
    void load();
    /** Stores the folders as they are shown, and scans them. */
    void save();

private:
    void add();
    void added(const QStringList &folders);
    void remove(const QString &folder);
    void showFolders();
    void showProjectCount();

    UserDefaults &defaults_;
    ProjectIndex &projects_;
    FolderDialog &dialog_;
    QStringList folders_;
    QPushButton *addButton_;
    QLabel *projectCount_;
    QLabel *whyNone_;  ///< empty while there are projects
    QWidget *lastRow_; ///< with the three
};

} // namespace corvid

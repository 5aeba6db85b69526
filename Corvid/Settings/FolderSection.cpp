#include "Settings/FolderSection.h"

#include "Base/Locations.h"
#include "Base/Settings.h"
#include "Platform/FolderDialog.h"
#include "ProjectIndex.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QPointer>
#include <QPushButton>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString promptOfDialog = u"Add"_s;

// For any number of folders; modal to the parent's window, which owns it.
QFileDialog *makeOwnDialog(QWidget *parent) {
    auto *dialog = new QFileDialog(parent->window(), u"Add folders"_s, locations::home());
    // The dialogs of desktops choose one folder at most.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAttribute(Qt::WA_WindowPropagation); // takes over its parent's colours
    dialog->setLabelText(QFileDialog::Accept, promptOfDialog);
    // Qt's is for one folder, too, but returns all that is selected in its lists.
    for (const QString &name : {u"listView"_s, u"treeView"_s}) {
        if (auto *list = dialog->findChild<QAbstractItemView *>(name))
            list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    }
    return dialog;
}

} // namespace

FolderSection::FolderSection(UserDefaults &defaults, ProjectIndex &projects, FolderDialog &dialog)
    : FormSection(u"Project folders"_s), defaults_(defaults), projects_(projects), dialog_(dialog),
      addButton_(makeButton(u"&Add folder..."_s)), projectCount_(new QLabel),
      whyNone_(makeCaption()), lastRow_(makeRowOver(whyNone_, {addButton_, projectCount_})) {
    connect(addButton_, &QPushButton::clicked, this, &FolderSection::add);
    projectCount_->setForegroundRole(QPalette::PlaceholderText);
    projectCount_->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
    whyNone_->hide();
    addRow(lastRow_);
    connect(&projects_, &ProjectIndex::projectsChanged, this, &FolderSection::showProjectCount);
    connect(&projects_, &ProjectIndex::scanningChanged, this, &FolderSection::showProjectCount);
}

void FolderSection::load() {
    folders_ = projects_.roots();
    showFolders();
    showProjectCount();
}

void FolderSection::save() {
    settings::setProjectRoots(defaults_, folders_);
    projects_.load();
}

void FolderSection::add() {
    addButton_->setEnabled(false);
    const auto done = [self = QPointer(this)](const std::optional<QStringList> &folders) {
        if (!self)
            return;
        if (folders) {
            self->added(*folders);
            return;
        }
        QFileDialog *dialog = makeOwnDialog(self);
        connect(dialog, &QFileDialog::finished, self, [self, dialog](int result) {
            self->added(result == QDialog::Accepted ? dialog->selectedFiles() : QStringList());
        });
        dialog->open();
    };
    dialog_.choose(*window()->windowHandle(), promptOfDialog, done);
}

void FolderSection::added(const QStringList &folders) {
    addButton_->setEnabled(true);
    addButton_->setFocus(); // it lost the focus when it was disabled
    if (folders.isEmpty())
        return;
    folders_ += folders;
    save();
    showFolders();
}

void FolderSection::remove(const QString &folder) {
    const qsizetype place = folders_.indexOf(folder);
    folders_.removeAll(folder);
    save();
    showFolders();
    // The focus stays where it was: on the button of the row that moved up.
    row(static_cast<int>(std::min(place, folders_.size())))->findChild<QPushButton *>()->setFocus();
}

void FolderSection::showFolders() {
    while (row(0) != lastRow_)
        removeRow(0);
    // Tab goes down the form: to the new buttons after what precedes the one that adds.
    QWidget *last = addButton_->previousInFocusChain();
    while (last->focusPolicy() == Qt::NoFocus)
        last = last->previousInFocusChain();
    for (int i = 0; i < folders_.size(); ++i) {
        const QString &folder = folders_.at(i);
        QPushButton *button = makeButton(u"Remove"_s);
        button->setAccessibleName(u"Remove "_s + folder);
        connect(button, &QPushButton::clicked, this, [this, folder] { remove(folder); });
        addRow(makeRow({new ElidedLabel(folder), button}), i);
        setTabOrder(last, button);
        last = button;
    }
}

void FolderSection::showProjectCount() {
    projectCount_->setText(QString::number(projects_.projects().size()) + u" projects indexed"_s);
    const std::optional<QString> why = projects_.whyThereAreNone();
    setCaption(whyNone_, why.value_or(QString()));
    whyNone_->setVisible(why.has_value());
}

} // namespace corvid

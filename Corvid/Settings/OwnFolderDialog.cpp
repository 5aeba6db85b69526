#include "Settings/OwnFolderDialog.h"

#include "Base/Locations.h"

#include <QAbstractItemView>
#include <QFileDialog>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QFileDialog *makeOwnFolderDialog(QWidget *parent, const QString &prompt) {
    auto *dialog = new QFileDialog(parent->window(), u"Add folders"_s, locations::home());
    // Those of desktops choose one folder at most.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAttribute(Qt::WA_WindowPropagation); // its colours are its parent's
    dialog->setLabelText(QFileDialog::Accept, prompt);
    // It is for one folder, too, but takes what its lists have selected.
    for (const QString &name : {u"listView"_s, u"treeView"_s}) {
        if (auto *list = dialog->findChild<QAbstractItemView *>(name))
            list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    }
    return dialog;
}

} // namespace corvid

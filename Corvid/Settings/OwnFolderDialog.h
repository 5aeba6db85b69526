#pragma once

#include <QString>

class QFileDialog;
class QWidget;

namespace corvid {

/** A dialog of our own for choosing any number of existing folders, modal to the parent's window,
    which owns it; shown by its open(). `prompt` is what its button says. */
QFileDialog *makeOwnFolderDialog(QWidget *parent, const QString &prompt);

} // namespace corvid

#include "resource_bundle_accessor.h"

#include <QDir>
#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString resourceBundle() {
    // Not by the application object: the resources are read while that is being made.
    const QString folder = QFileInfo(u"/proc/self/exe"_s).canonicalPath();
    return chooseResourceBundle(
        QDir::cleanPath(folder + "/../share/corvid/Corvid_Corvid.bundle"_L1),
        QStringLiteral(CORVID_BUILD_BUNDLE));
}

QString chooseResourceBundle(const QString &installed, const QString &buildTree) {
    for (const QString &folder : {installed, buildTree}) {
        const QFileInfo info(folder);
        if (info.isDir() && info.isExecutable())
            return folder;
    }
    qFatal("could not load resource bundle: from %s or %s", qUtf8Printable(installed),
           qUtf8Printable(buildTree));
}

} // namespace corvid

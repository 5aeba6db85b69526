#include "Platform/Linux/BundleExecutable.h"

#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString bundleExecutable(const QString &bundlePath) {
    return bundlePath + "/Contents/MacOS/"_L1 + QFileInfo(bundlePath).completeBaseName();
}

} // namespace corvid

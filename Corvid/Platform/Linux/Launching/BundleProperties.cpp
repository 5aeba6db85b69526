#include "Platform/Linux/Launching/BundleProperties.h"

#include "Catalog/PropertyList.h"

#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString bundleProperty(const QString &bundlePath, const QString &key) {
    const auto info = readBundleInfo(bundlePath);
    return info ? info->value(key) : QString();
}

QString bundleExecutable(const QString &bundlePath) {
    QString name = bundleProperty(bundlePath, u"CFBundleExecutable"_s);
    if (name.isEmpty() || name.contains(u'/'))
        name = QFileInfo(bundlePath).completeBaseName();
    return bundlePath + "/Contents/MacOS/"_L1 + name;
}

} // namespace corvid

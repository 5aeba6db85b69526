#include "Platform/Linux/Launching/BundleProperties.h"

#include "Base/RegularFile.h"
#include "Catalog/PropertyList.h"

#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString bundleProperty(const QString &bundlePath, const QString &key) {
    constexpr qint64 maximumSize = 8 * 1024 * 1024;
    const auto bytes = readRegularFile(bundlePath + "/Contents/Info.plist"_L1, maximumSize);
    const auto properties = decodePropertyList(bytes.value_or(QByteArray()));
    return properties ? properties->value(key) : QString();
}

QString bundleExecutable(const QString &bundlePath) {
    QString name = bundleProperty(bundlePath, u"CFBundleExecutable"_s);
    if (name.isEmpty() || name.contains(u'/'))
        name = QFileInfo(bundlePath).completeBaseName();
    return bundlePath + "/Contents/MacOS/"_L1 + name;
}

} // namespace corvid

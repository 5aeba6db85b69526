#include "Platform/Linux/BundleProperties.h"

#include "PropertyList.h"

#include <QFile>
#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString bundleProperty(const QString &bundlePath, const QString &key) {
    constexpr qint64 maximumSize = 8 * 1024 * 1024;
    QFile file(bundlePath + "/Contents/Info.plist"_L1);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumSize)
        return {};
    const auto properties = decodePropertyList(file.readAll());
    return properties ? properties->value(key) : QString();
}

QString bundleExecutable(const QString &bundlePath) {
    QString name = bundleProperty(bundlePath, u"CFBundleExecutable"_s);
    if (name.isEmpty() || name.contains(u'/'))
        name = QFileInfo(bundlePath).completeBaseName();
    return bundlePath + "/Contents/MacOS/"_L1 + name;
}

} // namespace corvid

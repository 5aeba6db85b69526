#include "Platform/Linux/BundleProperties.h"

#include "PropertyList.h"

#include <QFile>
#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QString bundleProperty(const QString &bundlePath, const QString &key) {
    constexpr qint64 maximumSize = 8 * 1024 * 1024;
    const QString path = bundlePath + "/Contents/Info.plist"_L1;
    QFile file(path);
    // Opening a pipe or a device could block for ever.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > maximumSize)
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

#include "Catalog/BundleProperties.h"

#include "Base/RegularFile.h"
#include "Catalog/PropertyList.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

std::optional<QHash<QString, QString>> bundleProperties(const QString &bundlePath) {
    constexpr qint64 largest = 16 * 1024 * 1024;
    const auto bytes = readRegularFile(bundlePath + "/Contents/Info.plist"_L1, largest);
    return decodePropertyList(bytes.value_or(QByteArray()));
}

QString bundleProperty(const QString &bundlePath, const QString &key) {
    const auto properties = bundleProperties(bundlePath);
    return properties ? properties->value(key) : QString();
}

} // namespace corvid

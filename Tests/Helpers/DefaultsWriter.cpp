// Writes user defaults as another process:
//
//   DefaultsWriter <file> <key> <times>     adds 1 to a key so many times, each addition a write
//   DefaultsWriter <file> <JSON object>     stores the object's values

#include "Platform/Linux/JsonUserDefaults.h"

#include <QJsonDocument>

#include <cstdlib>

int main(int argc, char **argv) {
    if (argc != 3 && argc != 4)
        return EXIT_FAILURE;
    corvid::JsonUserDefaults defaults(QString::fromLocal8Bit(argv[1]));
    if (argc == 3) {
        const QJsonObject values = QJsonDocument::fromJson(argv[2]).object();
        for (auto each = values.begin(); each != values.end(); ++each)
            defaults.set(each.key(), each.value());
        return values.isEmpty() ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    const QString key = QString::fromLocal8Bit(argv[2]);
    for (int times = std::atoi(argv[3]); times > 0; --times) {
        defaults.update(key, [](const QJsonValue &count) { return count.toInteger() + 1; });
        defaults.synchronize();
    }
    return EXIT_SUCCESS;
}

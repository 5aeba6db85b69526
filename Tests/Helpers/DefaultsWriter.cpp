// DefaultsWriter <file> <key> <times>: adds 1 to a key so many times, each addition a write.

#include "Platform/Linux/JsonUserDefaults.h"

#include <cstdlib>

int main(int argc, char **argv) {
    if (argc != 4)
        return EXIT_FAILURE;
    corvid::JsonUserDefaults defaults(QString::fromLocal8Bit(argv[1]));
    const QString key = QString::fromLocal8Bit(argv[2]);
    for (int times = std::atoi(argv[3]); times > 0; --times) {
        defaults.update(key, [](const QJsonValue &count) { return count.toInteger() + 1; });
        defaults.synchronize();
    }
    return EXIT_SUCCESS;
}

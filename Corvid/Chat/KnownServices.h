#pragma once

#include <QString>

#include <vector>

namespace corvid {

/** A service with an OpenAI-compatible endpoint, as the settings offer it. */
struct KnownService {
    QString name;
    QString baseURL;
    quint16 localPort = 0; ///< where it listens on this machine; 0: it is elsewhere
};

/** Those that the settings name, in the same order. */
std::vector<KnownService> knownServices();

} // namespace corvid

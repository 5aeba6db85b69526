#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace corvid {

/** What a launcher query means, as the model wrote it; nothing is validated. */
struct Intent {
    QString action; ///< "open_app", "open_project" or "none"
    QString app;
    QString project;
    QString editor;

    bool operator==(const Intent &) const = default;
};

/** Reads the body of a reply to an intent request. Pure, any thread; nothing when anything in it
    is missing or of another type. Fatal as intentFromText() is. */
std::optional<Intent> intentFromReply(const QByteArray &body);

/** Reads what the model said: the JSON object from the first "{" through the last "}", whatever
    stands around it. A "}" that stands only before the "{" is a fatal error, on purpose. */
std::optional<Intent> intentFromText(const QString &text);

} // namespace corvid

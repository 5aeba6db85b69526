#pragma once

#include <QDir>
#include <QFile>
#include <QSet>
#include <QString>

#include <thread>

namespace corvid::test {

/** How often the threads that started since it was made went to sleep (voluntary context
    switches): what stays the same while nothing wakes them. */
class ThreadWakes {
public:
    ThreadWakes() {
        // The first thread of a program may bring along one that watches it, as a sanitizer's.
        std::thread([] {}).join();
        const QStringList threads = all();
        others_ = {threads.begin(), threads.end()};
    }

    qint64 count() const {
        using namespace Qt::Literals::StringLiterals;
        qint64 sum = 0;
        for (const QString &thread : all()) {
            QFile status(u"/proc/self/task/%1/status"_s.arg(thread));
            if (others_.contains(thread) || !status.open(QIODevice::ReadOnly))
                continue;
            const QString text = QString::fromLatin1(status.readAll());
            const QString value = text.section("\nvoluntary_ctxt_switches:"_L1, 1, 1);
            sum += value.section(u'\n', 0, 0).trimmed().toLongLong();
        }
        return sum;
    }

private:
    static QStringList all() {
        return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

    QSet<QString> others_;
};

} // namespace corvid::test

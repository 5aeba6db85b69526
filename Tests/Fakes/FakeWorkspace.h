#pragma once

#include "Platform/Workspace.h"

#include <QHash>

#include <memory>
#include <mutex>
#include <vector>

namespace corvid {

/** An image that can be told from every other, though nothing was ever drawn: only its identity
    counts, which is all that is known of images below the ui layer. */
inline Image fakeImage() {
    auto identity = std::make_shared<char>();
    const auto *image = reinterpret_cast<const QImage *>(identity.get());
    return {std::move(identity), image};
}

/** Records what it is asked to do and opens nothing. Fill the public fields before use. */
class FakeWorkspace final : public Workspace {
public:
    struct Opened {
        QStringList paths; ///< empty when the application was opened without files
        QString applicationPath;
        bool operator==(const Opened &) const = default;
    };
    struct Tool {
        QString executable;
        QStringList arguments;
        bool operator==(const Tool &) const = default;
    };

    QSet<QString> running; ///< what runningApplications() answers
    QString openingError;  ///< what completions are told; empty for success
    QString toolError;     ///< what startTool()'s completion is told; empty for success
    /// Runs within icon(), on the thread that asks, before it answers.
    std::function<void(const QString &)> whileFetchingIcon;

    QStringList calls; ///< "<method> <path or address>" of every opening, in order
    std::vector<Opened> openedApplications;
    QStringList newWindows; ///< paths given to openNewWindow()
    std::vector<Opened> openedFiles;
    std::vector<Opened> openedTerminals;
    /// Who waits for what findTerminal() finds.
    std::vector<std::function<void(const std::optional<Terminal> &)>> terminalSeekers;
    QStringList opened; ///< paths given to open()
    QStringList revealed;
    std::vector<QUrl> urls;
    std::vector<Tool> tools;
    mutable int runningAsked = 0;

    std::vector<DesktopEntry> entries() const {
        const std::scoped_lock lock(mutex_);
        return entries_;
    }
    void setEntries(const std::vector<DesktopEntry> &entries) override {
        const std::scoped_lock lock(mutex_);
        entries_ = entries;
    }

    /** What icon() answers for a path; other paths have the generic icon. */
    void setIcon(const QString &path, const Image &image) {
        const std::scoped_lock lock(mutex_);
        icons_.insert(path, image);
    }

    /** What is drawn needs a real one. */
    void setGenericIcon(const Image &image) {
        const std::scoped_lock lock(mutex_);
        generic_ = image;
    }

    /** Paths whose icons were fetched, in order. Any thread. */
    QStringList iconsFetched() const {
        const std::scoped_lock lock(mutex_);
        return iconsFetched_;
    }

    const QSet<QString> &runningApplications() const override {
        ++runningAsked;
        return running;
    }

    Image icon(const QString &path) const override {
        if (whileFetchingIcon)
            whileFetchingIcon(path);
        const std::scoped_lock lock(mutex_);
        iconsFetched_.append(path);
        return icons_.value(path, generic_);
    }

    Image genericIcon() const override {
        const std::scoped_lock lock(mutex_);
        return generic_;
    }

    void openApplication(const QString &applicationPath, const Completion &done) override {
        calls.append(QStringLiteral("openApplication ") + applicationPath);
        openedApplications.push_back({{}, applicationPath});
        if (done)
            done(openingError);
    }

    void openNewWindow(const QString &applicationPath, const Completion &done) override {
        calls.append(QStringLiteral("openNewWindow ") + applicationPath);
        newWindows.append(applicationPath);
        if (done)
            done(openingError);
    }

    void runAction(const QString &applicationPath, const QString &action,
                   const Completion &done) override {
        calls.append(QStringLiteral("runAction ") + applicationPath + u' ' + action);
        if (done)
            done(openingError);
    }

    void open(const QString &path) override {
        calls.append(QStringLiteral("open ") + path);
        opened.append(path);
    }

    void openFiles(const QStringList &paths, const QString &applicationPath,
                   const Completion &done) override {
        calls.append(QStringLiteral("openFiles ") + paths.join(u' '));
        openedFiles.push_back({paths, applicationPath});
        if (done)
            done(openingError);
    }

    void openTerminal(const QString &folder, const QString &terminalPath,
                      const Completion &done) override {
        calls.append(QStringLiteral("openTerminal ") + folder);
        openedTerminals.push_back({{folder}, terminalPath});
        if (done)
            done(openingError);
    }

    void findTerminal(const std::function<void(const std::optional<Terminal> &)> &found) override {
        terminalSeekers.push_back(found);
    }

    void openUrl(const QUrl &url) override {
        calls.append(QStringLiteral("openUrl ") + url.toString());
        urls.push_back(url);
    }

    void reveal(const QString &path) override {
        calls.append(QStringLiteral("reveal ") + path);
        revealed.append(path);
    }

    void startTool(const QString &executable, const QStringList &arguments,
                   const Completion &done) override {
        calls.append(QStringLiteral("startTool ") + executable);
        tools.push_back({executable, arguments});
        if (done)
            done(toolError);
    }

private:
    mutable std::mutex mutex_; ///< guards what follows, which other threads use, too
    QHash<QString, Image> icons_;
    std::vector<DesktopEntry> entries_;
    Image generic_ = fakeImage();
    mutable QStringList iconsFetched_;
};

} // namespace corvid

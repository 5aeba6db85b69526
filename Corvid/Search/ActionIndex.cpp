#include "Search/ActionIndex.h"

#include "Base/Text.h"

#include <algorithm>

namespace corvid {

namespace {

std::uint64_t initialOf(QStringView word) {
    return std::uint64_t{1} << (word.front().unicode() % 64);
}

std::vector<QStringView> wordsIn(QStringView foldedText) {
    const auto separates = [](QChar unit) {
        return unit.isSpace() || unit.isPunct() || unit.isSymbol();
    };
    std::vector<QStringView> words;
    for (auto next = foldedText.begin(); next != foldedText.end();) {
        const auto first = std::find_if_not(next, foldedText.end(), separates);
        next = std::find_if(first, foldedText.end(), separates);
        if (first != next)
            words.emplace_back(first, next);
    }
    return words;
}

} // namespace

ActionIndex::ActionIndex(const std::vector<AppEntry> &apps) {
    for (std::size_t i = 0; i < apps.size(); ++i) {
        const AppEntry &app = apps[i];
        if (app.actions.isEmpty())
            continue;
        apps_.push_back({i, append(QStringList(app.name) + app.aliases), {}});
        apps_.back().actions.reserve(static_cast<std::size_t>(app.actions.size()));
        for (const DesktopAction &action : app.actions)
            apps_.back().actions.push_back(append({action.name}));
    }
}

ActionIndex::Words ActionIndex::append(const QStringList &names) {
    Words words;
    words.first = static_cast<std::uint32_t>(starts_.size() - 1);
    for (const QString &name : names) {
        const QString text = folded(name);
        for (const QStringView word : wordsIn(text)) {
            words.initials |= initialOf(word);
            units_.insert(units_.end(), word.begin(), word.end());
            starts_.push_back(static_cast<std::uint32_t>(units_.size()));
        }
    }
    words.end = static_cast<std::uint32_t>(starts_.size() - 1);
    return words;
}

bool ActionIndex::contains(const Words &words, QStringView wanted) const {
    constexpr qsizetype shortest = 3; // of a word that is cut short
    for (std::uint32_t i = words.first; i < words.end; ++i) {
        const QStringView word(units_.data() + starts_[i], starts_[i + 1] - starts_[i]);
        if (word == wanted || (wanted.size() >= shortest && word.startsWith(wanted)))
            return true;
    }
    return false;
}

bool ActionIndex::isNamed(const std::vector<QStringView> &query, const App &app,
                          const Words &action) const {
    bool namesAction = false;
    for (const QStringView word : query) {
        if (contains(action, word))
            namesAction = true;
        else if (!contains(app.names, word))
            return false;
    }
    return namesAction;
}

std::vector<ActionIndex::Place> ActionIndex::named(const QString &query) const {
    std::vector<Place> places;
    const QString text = folded(query);
    const std::vector<QStringView> words = wordsIn(text);
    std::uint64_t initials = 0;
    for (const QStringView word : words)
        initials |= initialOf(word);
    for (const App &app : apps_) {
        for (std::size_t i = 0; i < app.actions.size(); ++i) {
            const Words &action = app.actions[i];
            if ((initials & action.initials) != 0 &&
                (initials & ~(action.initials | app.names.initials)) == 0 &&
                isNamed(words, app, action))
                places.push_back({app.index, static_cast<qsizetype>(i)});
        }
    }
    return places;
}

} // namespace corvid

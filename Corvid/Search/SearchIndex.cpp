#include "Search/SearchIndex.h"

namespace corvid {

void NameTable::append(const QString &name) {
    const FoldedText text(name);
    const FoldedView view = text.view();
    masks_.push_back(SearchEngine::characterMask(view.units));
    units_.insert(units_.end(), view.units.begin(), view.units.end());
    unitStarts_.push_back(static_cast<std::uint32_t>(units_.size()));
    bounds_.insert(bounds_.end(), view.bounds.begin(), view.bounds.end());
    boundStarts_.push_back(static_cast<std::uint32_t>(bounds_.size()));
}

FoldedView NameTable::at(std::size_t index) const {
    const std::uint32_t start = unitStarts_[index];
    const std::uint32_t boundStart = boundStarts_[index];
    return {QStringView(units_.data() + start, unitStarts_[index + 1] - start),
            std::span(bounds_).subspan(boundStart, boundStarts_[index + 1] - boundStart)};
}

void UsageCounts::update(const UsageStats &stats) {
    const quint64 generation = stats.generation();
    if (generation_ == generation)
        return;
    generation_ = generation;
    for (const std::size_t index : launched_)
        counts_[index] = 0;
    launched_.clear();
    const QHash<QString, qint64> &counts = stats.counts();
    for (auto entry = counts.begin(); entry != counts.end(); ++entry) {
        const auto [first, last] = indexes_.equal_range(entry.key());
        for (auto index = first; index != last; ++index) {
            counts_[*index] = entry.value();
            launched_.push_back(*index);
        }
    }
}

std::optional<std::size_t> UsageCounts::indexOf(const QString &key) const {
    const auto index = indexes_.constFind(key);
    if (index == indexes_.cend())
        return std::nullopt;
    return *index;
}

AppSearchIndex::AppSearchIndex(const std::vector<AppEntry> &apps) : launches_(apps) {
    for (std::size_t i = 0; i < apps.size(); ++i) {
        names_.append(apps[i].name);
        for (const QString &alias : apps[i].aliases)
            aliases_.append(alias);
        aliasStarts_.push_back(static_cast<std::uint32_t>(aliases_.size()));
        for (const QString &role : apps[i].roles) {
            std::vector<std::size_t> &members = roles_[role];
            if (members.empty() || members.back() != i)
                members.push_back(i);
        }
    }
}

qint64 AppSearchIndex::score(const PreparedQuery &query, std::size_t index) const {
    qint64 best = names_.score(query, index, SearchEngine::appNameTiers);
    for (std::size_t alias = aliasStarts_[index]; alias < aliasStarts_[index + 1]; ++alias)
        best = std::max(best, aliases_.score(query, alias, SearchEngine::appAliasTiers));
    return best < 1 ? best : best + SearchEngine::usageBoost(launches(index));
}

const std::vector<std::size_t> &AppSearchIndex::withRole(const QString &role) const {
    static const std::vector<std::size_t> none;
    const auto members = roles_.constFind(role);
    return members == roles_.cend() ? none : *members;
}

ProjectSearchIndex::ProjectSearchIndex(const std::vector<ProjectEntry> &projects)
    : launches_(projects) {
    for (const ProjectEntry &project : projects)
        names_.append(project.name);
}

qint64 ProjectSearchIndex::score(const PreparedQuery &query, std::size_t index) const {
    const qint64 best = names_.score(query, index, SearchEngine::projectNameTiers);
    return best < 1 ? best : best + SearchEngine::usageBoost(launches_.at(index));
}

} // namespace corvid

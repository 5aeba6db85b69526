#include "Search/SearchIndex.h"

#include <algorithm>

namespace corvid {

namespace {

qint64 nameScore(const PreparedQuery &query, const PreparedName &name,
                 const SearchEngine::Tiers &tiers) {
    const bool mayMatch = (query.mask & ~name.mask) == 0;
    return mayMatch ? SearchEngine::matchScore(query.text, name.text, tiers) : 0;
}

} // namespace

PreparedName::PreparedName(const QString &name) : text(name) {
    for (const QChar unit : text.units())
        mask |= std::uint64_t{1} << (unit.unicode() % 64);
}

SearchIndex::SearchIndex(const std::vector<AppEntry> &apps)
    : nameTiers_(SearchEngine::appNameTiers) {
    for (std::size_t i = 0; i < apps.size(); ++i) {
        append({PreparedName(apps[i].name),
                {apps[i].aliases.begin(), apps[i].aliases.end()},
                usageKey(apps[i])});
        for (const QString &role : apps[i].roles) {
            std::vector<std::size_t> &members = roles_[role];
            if (members.empty() || members.back() != i)
                members.push_back(i);
        }
    }
}

SearchIndex::SearchIndex(const std::vector<ProjectEntry> &projects)
    : nameTiers_(SearchEngine::projectNameTiers) {
    for (const ProjectEntry &project : projects)
        append({PreparedName(project.name), {}, usageKey(project)});
}

void SearchIndex::append(Entry entry) {
    std::uint64_t mask = entry.name.mask;
    for (const PreparedName &alias : entry.aliases)
        mask |= alias.mask;
    masks_.push_back(mask);
    entries_.push_back(std::move(entry));
}

void SearchIndex::updateUsage(const UsageStats &stats) {
    const quint64 generation = stats.generation();
    if (generation_ == generation)
        return;
    generation_ = generation;
    const settings::LaunchCounts &counts = stats.counts();
    for (Entry &entry : entries_)
        entry.launches = counts.value(entry.key);
}

qint64 SearchIndex::score(const PreparedQuery &query, std::size_t index) const {
    if ((query.mask & ~masks_[index]) != 0)
        return 0;
    const Entry &entry = entries_[index];
    qint64 best = nameScore(query, entry.name, nameTiers_);
    for (const PreparedName &alias : entry.aliases)
        best = std::max(best, nameScore(query, alias, SearchEngine::appAliasTiers));
    return best < 1 ? best : best + SearchEngine::usageBoost(entry.launches);
}

std::optional<std::size_t> SearchIndex::indexOf(const QString &key) const {
    const auto entry = std::ranges::find(entries_, key, &Entry::key);
    if (entry == entries_.end())
        return std::nullopt;
    return static_cast<std::size_t>(entry - entries_.begin());
}

const std::vector<std::size_t> &SearchIndex::withRole(const QString &role) const {
    static const std::vector<std::size_t> none;
    const auto members = roles_.constFind(role);
    return members == roles_.cend() ? none : *members;
}

} // namespace corvid

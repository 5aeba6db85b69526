#include "Search/SearchIndex.h"

#include "Search/Spelling.h"
#include "Search/Words.h"

#include <algorithm>

namespace corvid {

namespace {

std::uint64_t maskWithoutAccents(QStringView text) {
    QString memory;
    return unitMask(spelling::withoutAccents(text, memory));
}

std::uint32_t hashOfKey(const QString &key) {
    return static_cast<std::uint32_t>(qHash(key));
}

} // namespace

PreparedQuery::PreparedQuery(const QString &query)
    : text(query.trimmed()), mask(unitMask(text.units())),
      mostFuzzy(SearchEngine::mostFuzzy(text.view().size())) {}

void NameTable::append(const QString &name) {
    const FoldedText text(name);
    const FoldedView view = text.view();
    masks_.push_back(unitMask(view.units) | maskWithoutAccents(view.units));
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

SearchIndex::SearchIndex(const std::vector<AppEntry> &apps)
    : nameTiers_(SearchEngine::appNameTiers), actions_(apps) {
    for (std::size_t i = 0; i < apps.size(); ++i) {
        append(apps[i].name, apps[i].aliases, apps[i].words, apps[i].path);
        bundleIDs_.push_back(apps[i].bundleID);
        for (const QString &role : apps[i].roles) {
            std::vector<std::size_t> &members = roles_[role];
            if (members.empty() || members.back() != i)
                members.push_back(i);
        }
    }
    sortKeys();
}

SearchIndex::SearchIndex(const std::vector<ProjectEntry> &projects)
    : nameTiers_(SearchEngine::projectNameTiers) {
    for (const ProjectEntry &project : projects)
        append(project.name, {}, {}, project.path);
    sortKeys();
}

void SearchIndex::append(const QString &name, const QStringList &aliases,
                         const QByteArray &description, const QString &path) {
    paths_.push_back(path);
    launches_.push_back(0);
    names_.append(name);
    std::uint64_t mask = words::maskOf(names_.at(names_.size() - 1).units);
    for (const QString &alias : aliases) {
        aliases_.append(alias);
        mask |= words::maskOf(aliases_.at(aliases_.size() - 1).units);
    }
    if (!description.isEmpty())
        mask |= words::maskOf(QString::fromUtf8(description));
    wordMasks_.push_back(mask);
    aliasStarts_.push_back(static_cast<std::uint32_t>(aliases_.size()));
}

void SearchIndex::sortKeys() {
    places_.reserve(size());
    for (std::size_t i = 0; i < size(); ++i)
        places_.push_back({hashOfKey(key(i)), static_cast<std::uint32_t>(i)});
    std::sort(places_.begin(), places_.end());
}

std::span<const SearchIndex::KeyPlace> SearchIndex::placesOf(const QString &key) const {
    const std::uint32_t hash = hashOfKey(key);
    const auto first = std::lower_bound(places_.begin(), places_.end(), KeyPlace{hash, 0});
    auto end = first;
    while (end != places_.end() && end->hash == hash)
        ++end;
    return {first, end};
}

void SearchIndex::updateUsage(const UsageStats &stats) {
    const quint64 generation = stats.generation();
    if (generation_ == generation)
        return;
    generation_ = generation;
    std::ranges::fill(launches_, 0);
    // There are far fewer counts than entries.
    const settings::LaunchCounts &counts = stats.counts();
    for (auto count = counts.begin(); count != counts.end(); ++count)
        for (const KeyPlace &place : placesOf(count.key()))
            if (key(place.index) == count.key())
                launches_[place.index] = count.value();
}

std::optional<std::size_t> SearchIndex::indexOf(const QString &key) const {
    for (const KeyPlace &place : placesOf(key))
        if (this->key(place.index) == key)
            return place.index;
    return std::nullopt;
}

const std::vector<std::size_t> &SearchIndex::withRole(const QString &role) const {
    static const std::vector<std::size_t> none;
    const auto members = roles_.constFind(role);
    return members == roles_.cend() ? none : *members;
}

} // namespace corvid

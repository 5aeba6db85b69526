#pragma once

#include "Base/Records.h"
#include "Platform/Volumes.h"

#include <array>
#include <cstdint>
#include <stop_token>
#include <string_view>
#include <vector>

/**
 * Finds projects below root folders. Any thread; reads the file system and nothing else. What
 * cannot be read is left out, nothing is reported.
 */
namespace corvid {

/** A folder of one of these names is never entered. */
inline constexpr std::array<std::string_view, 22> skipDirs{
    "node_modules", ".build", "dist",    "build", "target", "vendor",           "__pycache__",
    ".next",        ".nuxt",  "Pods",    ".venv", "venv",   "DerivedData",      "coverage",
    ".cache",       ".turbo", "Library", ".hg",   ".svn",   "bower_components", "Carthage",
    ".dart_tool"};

/** A file or folder that makes its folder a project, and the technology it stands for. */
struct Marker {
    std::string_view name; ///< exact name, or "*" and the end of a name
    std::string_view stack;
};

inline constexpr std::array<Marker, 27> markers{{
    {".git", "git"},
    {"package.json", "js"},
    {"Cargo.toml", "rust"},
    {"go.mod", "go"},
    {"pyproject.toml", "python"},
    {"requirements.txt", "python"},
    {"Gemfile", "ruby"},
    {"composer.json", "php"},
    {"pom.xml", "java"},
    {"build.gradle", "gradle"},
    {"build.gradle.kts", "gradle"},
    {"Package.swift", "swift"},
    {"*.xcodeproj", "xcode"},
    {"*.xcworkspace", "xcode"},
    {"*.code-workspace", "vscode"},
    {"mix.exs", "elixir"},
    {"deno.json", "deno"},
    {"deno.jsonc", "deno"},
    {"pubspec.yaml", "flutter"},
    {"index.html", "web"},
    {"CMakeLists.txt", "cmake"},
    {"Makefile", "make"},
    {"*.sln", "dotnet"},
    {"*.csproj", "dotnet"},
    {"stack.yaml", "haskell"},
    {"project.clj", "clojure"},
    {"Dockerfile", "docker"},
}};

/** A set of marker rows: bit n stands for markers[n]. */
using MarkerSet = std::uint32_t;
static_assert(markers.size() <= 32);

/** The rows that an entry of this name satisfies. */
MarkerSet markersOf(std::string_view name);

/** The technologies of a folder whose entries satisfy these rows: each once, in the order of the
    table. Empty when it is no project. */
QStringList detectStack(MarkerSet found);

/** Whether a folder's name keeps it from being entered: hidden, skipped or an application. */
bool isNeverEntered(std::string_view name);

/** Folders are listed down to this depth below a root, which itself has depth 0. */
inline constexpr int deepestListed = 4;

/** No further folder of a root is opened once more entries than this have been listed below it. */
inline constexpr std::int64_t entryBudget = 30'000;

/**
 * All projects at or below the roots, sorted by name. Roots on volumes that are known to be remote
 * or automounted yield nothing. Symbolic links are not followed, except where a root is one. Ends
 * within milliseconds when asked to stop; what it then returns is incomplete.
 */
std::vector<ProjectEntry> scan(const QStringList &roots, const Volumes &volumes,
                               const std::stop_token &stop = {});

} // namespace corvid

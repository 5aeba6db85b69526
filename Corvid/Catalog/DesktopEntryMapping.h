#pragma once

#include "Base/Records.h"
#include "Platform/DesktopEntries.h"
#include "RoleCatalog.h"

namespace corvid {

/**
 * The application that a desktop entry describes. Aliases are those of the catalog, then the
 * generic name unless it is a sentence, the unlocalised name, the program's own name as a person
 * types it, the words of a name in camel case, and the initials, none twice and none equal to the
 * name, letter case aside. Keywords are no aliases: too many of them are everyday words. Roles are
 * those of the catalog and those of the category; of an application that the catalog does not know,
 * those of single Categories and those that its generic name or a keyword names besides. None
 * twice. The words that describe it besides are those of the generic name and of the keywords,
 * localised and not, "settings" and "preferences" for a panel of the settings, the parts of a name
 * in camel case, and what the categories say. Actions are the entry's. Pure.
 */
AppEntry appEntry(const DesktopEntry &entry, const RoleCatalog &catalog);

/** The "public.app-category.…" value that fits an entry's Categories best; empty for none. */
QString appCategory(const QStringList &categories);

/** The roles that single Categories, or two of them together, tell. */
QStringList rolesOfCategories(const QStringList &categories);

} // namespace corvid

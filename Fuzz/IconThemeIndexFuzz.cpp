// The index of any icon theme: folders and parents that are each named once, with sizes whose
// distances are numbers.
#include "FuzzInput.h"
#include "Platform/Linux/Icons/IconThemeIndex.h"

using namespace corvid;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto index = parseIconThemeIndex(fuzz::bytesOf(data, size));
    if (!index)
        return 0;
    QStringList names;
    for (const auto &[name, folder] : index->folders) {
        names.append(name);
        require(!name.isEmpty() && name == name.trimmed(), "a folder has a name");
        require(folder.scale >= 1 && folder.scale <= 10'000, "a scale that can be multiplied");
        for (const int wanted : {1, 16, 512}) {
            const int distance = folder.distance(wanted, 2);
            require(distance >= 0, "a distance is no less than nothing");
            require(!folder.matches(wanted, 2) || folder.minimum <= wanted,
                    "what matches is large enough");
        }
    }
    require(names.removeDuplicates() == 0, "no folder twice");
    require(QStringList(index->parents).removeDuplicates() == 0, "no parent twice");
    require(!index->parents.contains(QString()), "every parent has a name");
    return 0;
}

#pragma once

#include "Base/Records.h"

class QPainter;
class QStyleOptionViewItem;

namespace corvid {

/** Paints a row of the list where the option says: icon, running dot, title over subtitle, branch,
    badge. `saysCopied`: a tick in the badge's place. Leaves the painter as it comes to be. */
void paintRow(QPainter &painter, const QStyleOptionViewItem &option, const ResultItem &item,
              bool saysCopied);

} // namespace corvid

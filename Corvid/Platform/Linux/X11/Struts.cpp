#include "Platform/Linux/X11/Struts.h"

#include <algorithm>

namespace corvid {

QRect withoutStruts(const QRect &screen, const QSize &desktop, const std::vector<Strut> &struts) {
    enum { Left, Right, Top, Bottom, Edges };
    QMargins taken;
    for (const Strut &strut : struts) {
        const auto at = [&strut](std::size_t index) {
            // Desktops are smaller than this, and sums of such numbers stay numbers.
            constexpr std::uint32_t furthest = 1U << 20;
            return static_cast<int>(std::min(strut[index], furthest));
        };
        // How far each reaches into the screen, which need not lie at that edge of the desktop.
        const std::array<int, Edges> depth{
            at(Left) - screen.left(), at(Right) - (desktop.width() - screen.right() - 1),
            at(Top) - screen.top(), at(Bottom) - (desktop.height() - screen.bottom() - 1)};
        const auto takes = [&](std::size_t edge, int first, int last, int room) {
            const std::size_t start = Edges + 2 * edge;
            return at(edge) > 0 && depth[edge] > 0 && depth[edge] < room && at(start) <= last &&
                   at(start + 1) >= first;
        };
        if (takes(Left, screen.top(), screen.bottom(), screen.width()))
            taken.setLeft(std::max(taken.left(), depth[Left]));
        if (takes(Right, screen.top(), screen.bottom(), screen.width()))
            taken.setRight(std::max(taken.right(), depth[Right]));
        if (takes(Top, screen.left(), screen.right(), screen.height()))
            taken.setTop(std::max(taken.top(), depth[Top]));
        if (takes(Bottom, screen.left(), screen.right(), screen.height()))
            taken.setBottom(std::max(taken.bottom(), depth[Bottom]));
    }
    const QRect visible = screen.marginsRemoved(taken);
    return visible.isValid() ? visible : screen;
}

} // namespace corvid

#pragma once

#include "Platform/PanelSurface.h"

#include <QImage>
#include <QScreen>
#include <QWindow>

#include <array>
#include <vector>

namespace corvid {

/** Leaves the window alone and remembers what it was asked. */
class FakePanelSurface final : public PanelSurface {
public:
    struct Prepared {
        bool visible = false;
        quint32 time = 0;
        bool operator==(const Prepared &) const = default;
    };

    Behind behind() const override { return whatIsBehind; }
    QRect visibleFrame(const QScreen &screen) const override { return screen.availableGeometry(); }
    bool castsShadow() const override { return shadow; }
    void prepare(QWindow &panel, qreal /*cornerRadius*/, quint32 time) override {
        prepared.push_back({panel.isVisible(), time});
    }
    void claimKeyboard(QWindow & /*window*/) override { ++claims; }
    bool hasKeyboard(const QWindow & /*panel*/) const override { return keyboard; }

    void appeared(QWindow &panel, const QPoint & /*origin*/, const QRect &card) override {
        appearedVisibly.push_back(panel.isVisible());
        cardInWindow = card;
    }
    void anticipateKeyboard(QWindow &panel) override {
        anticipatedVisibly.push_back(panel.isVisible());
    }
    bool leavesTimeToPaint() const override { return isSlow; }
    void drag(QWindow & /*panel*/, const QPoint &grip, const QPoint &inWindow,
              const QPoint &onDesktop) override {
        drags.push_back({grip, inWindow, onDesktop});
    }
    void castShadow(QWindow & /*panel*/, const Shadow &picture) override {
        picture.draw(1, [this](const QImage &drawn) { pictures.push_back(drawn); });
        waitedForShadow |= !pictures.empty();
    }
    void withdraw(QWindow &panel) override { withdrawn.push_back(panel.isVisible()); }

    bool keyboard = false;
    bool shadow = true;
    bool isSlow = false;
    QRect cardInWindow;
    Behind whatIsBehind = Behind::Desktop;
    std::vector<Prepared> prepared;
    int claims = 0;
    std::vector<std::array<QPoint, 3>> drags;
    // Whether the window was visible.
    std::vector<bool> appearedVisibly;
    std::vector<bool> anticipatedVisibly;
    std::vector<bool> withdrawn;
    std::vector<QImage> pictures; ///< of the shadow
    bool waitedForShadow = false;
};

} // namespace corvid

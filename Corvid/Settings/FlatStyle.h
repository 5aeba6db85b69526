#pragma once

#include <QProxyStyle>

namespace corvid {

/** How our ordinary windows draw their controls: flat, in the palette's colours alone, which are
   the desktop's. The same on every desktop, so that none of their styles needs to be loaded. Main
    thread only. */
class FlatStyle final : public QProxyStyle {
    Q_OBJECT

public:
    FlatStyle();

    /** Whether the letters that Alt reaches a control by are underlined; at first they are not. The
        window must be repainted. */
    static void underlineMnemonics(bool underlined);

    void polish(QWidget *widget) override;
    using QProxyStyle::polish;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                            QPainter *painter, const QWidget *widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption *option,
                         const QWidget *widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                           const QWidget *widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *more) const override;
};

} // namespace corvid

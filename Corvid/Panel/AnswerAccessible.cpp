#include "Panel/AnswerAccessible.h"

#include "Panel/AnswerArea.h"
#include "Panel/AnswerFormats.h"

#include <QAccessibleWidget>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>

namespace corvid {

namespace {

class AnswerAccessible final : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit AnswerAccessible(AnswerArea *area)
        : QAccessibleWidget(area, QAccessible::EditableText), area_(*area) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = true;
        state.multiLine = true;
        state.selectableText = true;
        return state;
    }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? text(0, characterCount())
                                          : QAccessibleWidget::text(kind);
    }

    QString text(int start, int end) const override {
        QString text = range(start, end).selectedText();
        for (QChar &c : text) {
            const bool frame = c == QChar(0xfdd0) || c == QChar(0xfdd1);
            if (frame || c == QChar::ParagraphSeparator)
                c = u'\n';
        }
        // A paragraph that is parted for the layout alone stays one; offsets stay what they are.
        const QTextDocument *document = area_.document();
        for (QTextBlock block = document->findBlock(start);
             block.isValid() && block.position() + block.length() <= start + text.size();
             block = block.next()) {
            if (block.userState() == answer::Continued)
                text[block.position() + block.length() - 1 - start] = QChar(0x200b);
        }
        return text;
    }

    int characterCount() const override { return area_.document()->characterCount() - 1; }

    int cursorPosition() const override { return area_.textCursor().position(); }
    void setCursorPosition(int position) override {
        area_.setTextCursor(range(position, position));
    }

    int selectionCount() const override { return area_.textCursor().hasSelection() ? 1 : 0; }
    void selection(int index, int *start, int *end) const override {
        const QTextCursor marked = area_.textCursor();
        const bool is = index == 0 && marked.hasSelection();
        *start = is ? marked.selectionStart() : 0;
        *end = is ? marked.selectionEnd() : 0;
    }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void setSelection(int index, int start, int end) override {
        if (index == 0)
            area_.setTextCursor(range(start, end));
    }
    void removeSelection(int index) override {
        if (index == 0)
            setCursorPosition(cursorPosition());
    }

    QRect characterRect(int offset) const override {
        const QRect before = area_.cursorRect(range(offset, offset));
        const QRect behind = area_.cursorRect(range(offset + 1, offset + 1));
        const QRect place = before.top() == behind.top() ? before.united(behind) : before;
        return {area_.viewport()->mapToGlobal(place.topLeft()), place.size()};
    }
    int offsetAtPoint(const QPoint &point) const override {
        const QPoint place = area_.viewport()->mapFromGlobal(point);
        return area_.viewport()->rect().contains(place) ? area_.cursorForPosition(place).position()
                                                        : -1;
    }
    void scrollToSubstring(int start, int /*end*/) override {
        QScrollBar *bar = area_.verticalScrollBar();
        const QRect place = area_.cursorRect(range(start, start));
        if (place.top() < 0 || place.bottom() > area_.viewport()->height())
            bar->setValue(bar->value() + place.top());
    }

    /** None; the stretch is the paragraph. */
    QString attributes(int offset, int *start, int *end) const override {
        const QTextBlock block =
            area_.document()->findBlock(std::clamp(offset, 0, characterCount()));
        *start = block.position();
        *end = block.position() + block.length() - 1;
        return {};
    }

private:
    QTextCursor range(int start, int end) const {
        QTextCursor cursor(area_.document());
        const int last = characterCount();
        cursor.setPosition(std::clamp(start, 0, last));
        cursor.setPosition(std::clamp(end, 0, last), QTextCursor::KeepAnchor);
        return cursor;
    }

    AnswerArea &area_;
};

} // namespace

QAccessibleInterface *answerAccessible(const QString & /*className*/, QObject *object) {
    auto *area = qobject_cast<AnswerArea *>(object);
    return area ? new AnswerAccessible(area) : nullptr;
}

} // namespace corvid

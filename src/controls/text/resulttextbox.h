#pragma once

#include "controls/text/scintilla.h"

#include <QAccessibleWidget>

#include <functional>
#include <string_view>

class ResultTextBox;

// A read-only text that may be very large: no style bytes, no undo, no highlighting; find with Ctrl+F.
class ResultTextBox : public QsciScintilla {
    Q_OBJECT

public:
    explicit ResultTextBox(QWidget *parent = nullptr);

    void clearText();
    void setWholeText(std::string_view utf8);
    using Take = std::function<void(std::string_view utf8)>;
    // Replaces the text by what `produce` gives to its argument, `bytes` in all. It works on a thread of its
    // own and touches no widget; `yield` is called every few milliseconds until it has ended. What it throws
    // comes out here. The new text appears when it is whole.
    void produceText(std::size_t bytes, const std::function<void(const Take &)> &produce,
                     const std::function<void()> &yield);
    qint64 byteCount() const;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

private:
    void appendUtf8(std::string_view utf8);
    void showDocument(void *document);

    int m_generation = 0; // of the text, told apart by clearText()
};

// How assistive tools read a ResultTextBox: at most its first 100,000 characters. QScintilla's own interface
// counts all characters before the caret at every repaint, which takes a second for 100 MB.
class ResultTextAccess : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit ResultTextAccess(ResultTextBox *box);

    // For QAccessible::installFactory.
    static QAccessibleInterface *create(const QString &className, QObject *object);

    void *interface_cast(QAccessible::InterfaceType type) override;
    QAccessible::State state() const override;
    QString text(QAccessible::Text kind) const override;

    void selection(int index, int *start, int *end) const override;
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QString text(int start, int end) const override;
    int characterCount() const override;
    QRect characterRect(int) const override { return {}; }
    int offsetAtPoint(const QPoint &) const override { return -1; }
    void scrollToSubstring(int start, int end) override;
    QString attributes(int offset, int *start, int *end) const override;

private:
    QString beginning() const;

    ResultTextBox &m_box;
};

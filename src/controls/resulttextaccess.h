#pragma once

#include <QAccessibleWidget>

class ResultTextBox;

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

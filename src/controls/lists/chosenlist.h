#pragma once

#include <QElapsedTimer>
#include <QListWidget>

// A list box whose choice acts at once: chosen() comes for every click on an item, also the chosen one
// again, for every move by the keyboard and for setCurrentRow(); not while the list is filled or cleared, nor
// when it gets the focus.
class ChosenList : public QListWidget {
    Q_OBJECT

public:
    explicit ChosenList(QWidget *parent = nullptr);

    QString currentText() const { return currentItem() ? currentItem()->text() : QString(); }
    QStringList texts() const;
    void clearItems();
    // As a click on the item of that text; nothing when there is none.
    void choose(const QString &text);
    // Without chosen().
    void appendItem(const QString &text);
    // The first item in sight, and back to it after the list was filled anew.
    int topRow() const;
    void showFromRow(int row);
    // What an empty list says instead of items; screen readers tell it as its description.
    void setPlaceholderText(const QString &text);

    // Items have two names with a tab between them, which is shown as the gap that it is.
    void setPairs() { m_hasPairs = true; }
    bool hasPairs() const { return m_hasPairs; }

    // Typed letters lead to the next item whose name, behind a tag like "[TABLE]", begins with them.
    void keyboardSearch(const QString &letters) override;

Q_SIGNALS:
    void chosen();

protected:
    void focusInEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void paintEvent(QPaintEvent *event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event) const override;

private:
    bool isAllHidden() const;

    QString m_placeholder, m_typed;
    QElapsedTimer m_lastLetter;
    bool m_isPressed = false, m_hasPairs = false;
    QPersistentModelIndex m_before; // the current one when the button went down
};

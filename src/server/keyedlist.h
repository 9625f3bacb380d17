#pragma once

#include "server/keyedrows.h"

#include <QTableView>

// A list of KeyedRows: a click on a header sorts, the third one restores the server's order; whole rows are
// chosen, several at once, and copied with Ctrl+C.
class KeyedList : public QTableView {
    Q_OBJECT

public:
    KeyedList(const char *name, const QString &title, const std::vector<KeyedColumn> &columns);

    KeyedRows &rows() { return *m_rows; }
    const KeyedRows &rows() const { return *m_rows; }
    // As KeyedRows::update(); the first rows decide how wide the columns are.
    void show(KeyedTable table);
    bool hasChosen() const { return selectionModel()->hasSelection(); }
    // Keys of the chosen rows in the order shown, and of the one that the cursor is in (empty: none).
    QStringList chosenKeys() const;
    QString currentKey() const;
    // Goes there; false where it is not shown.
    bool choose(const QString &key);
    void setPlaceholderText(const QString &text);
    // The chosen rows, whole values, with the titles; what is hidden is left out.
    QString chosenText() const;
    void copy() const;

Q_SIGNALS:
    void choiceChanged(); // also once after each show()
    void activatedRow();  // a double click, or Enter

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    std::vector<int> chosenRows() const;
    void fitRowHeight();
    void fitColumns();

    KeyedRows *m_rows;
    QString m_placeholder;
    bool m_hasWidths = false;
};

class QLineEdit;
// A line that filters the list while one types; Escape clears it, the down key leads to the list.
QLineEdit *makeFilter(const char *name, KeyedList &list);

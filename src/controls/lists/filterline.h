#pragma once

#include <QLineEdit>

class QListWidget;

// A line above a list that hides what does not match while one types. Case and the width of Japanese
// characters do not matter; of "[TABLE]", a TAB and a name only the name counts. Escape clears it, the
// down key goes to the list. It is enabled as its list is.
class FilterLine : public QLineEdit {
    Q_OBJECT

public:
    explicit FilterLine(QListWidget &list, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void goToList(QKeyEvent *event);
    void apply(int first, int last);

    QListWidget &m_list;
};

// The text without what does not matter to one who searches: case, and the width of Japanese characters.
QString comparable(const QString &text);
// Whether the filter lets an item's text through.
bool passesFilter(const QString &itemText, const QString &filter);

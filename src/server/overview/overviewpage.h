#pragma once

#include "server/keyedrows.h"
#include "server/serverpage.h"

class KeyedList;
class QComboBox;
class QLabel;
class QStackedLayout;

// One list of a page: what it asks and how it shows it.
struct Overview {
    struct Answer {
        std::vector<KeyedRow> rows;
        QString note;    // what the list as a whole says; mostly empty
        QString problem; // what is missing in it, and why; mostly empty
    };

    const char *name; // of the list
    QString title;
    std::vector<KeyedColumn> columns;
    std::function<Answer(Connection &connection)> read; // throws Failure
    QString whenEmpty = {};
};

// A page that only reads: one of several lists at a time, the one that is chosen.
class OverviewPage : public ServerPage {
    Q_OBJECT

public:
    enum class Reading { ByClock, OnDemand };
    OverviewPage(const ServerSurroundings &around, const char *name, const QString &title,
                 std::vector<Overview> overviews, Reading reading);

    bool followsClock() const override { return m_reading == Reading::ByClock; }

protected:
    void refresh() override;

private:
    void buildLayout();
    void choose(int index);
    void show(std::size_t index, Overview::Answer answer);

    const std::vector<Overview> m_overviews;
    const Reading m_reading;
    std::vector<KeyedList *> m_lists;
    QComboBox *m_choice;
    QStackedLayout *m_filters, *m_stack;
    QLabel *m_note;
};

#pragma once

#include <QGroupBox>
#include <QStringList>

class QListWidget;

// The tables and views of a database, those that are wanted ticked.
class ObjectChoice : public QGroupBox {
    Q_OBJECT

public:
    // `room` begins the names of its controls: "dump" makes dumpObjects, dumpAll and dumpNone. Those of
    // `chosen` are ticked, all when it is empty.
    ObjectChoice(const QString &room, const QStringList &objects, const QStringList &chosen);

    // False where there are some and none is ticked.
    bool isUsable() const;
    // The ticked ones; empty when all are: those that were made since the list was read belong to them.
    QStringList chosen() const;

private:
    void setAll(Qt::CheckState state);

    QListWidget *m_list;
};

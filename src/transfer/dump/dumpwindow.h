#pragma once

#include "transfer/dump/dump.h"
#include "transfer/transferwindow.h"

class ObjectChoice;
class QCheckBox;
class QLineEdit;
class QRadioButton;
class QSpinBox;

// "dumpWindow": what of one database goes where.
class DumpWindow : public TransferWindow {
    Q_OBJECT

public:
    // Objects: the names of tables and views; those of `chosen` are ticked, all when it is empty.
    DumpWindow(Session &session, const QString &database, const QStringList &objects,
               const QStringList &chosen);

protected:
    void start() override;

private:
    void buildForm();
    QWidget *parts();
    void browse();
    QString startPath() const;
    DumpOptions options() const;

    const QString m_database;
    ObjectChoice *m_objects;
    QCheckBox *m_structure, *m_rows, *m_routines, *m_triggers, *m_events, *m_definers, *m_history;
    QCheckBox *m_createDatabase, *m_drop;
    QSpinBox *m_insertSize;
    QLineEdit *m_condition, *m_path;
    QRadioButton *m_oneFile, *m_folder;
};

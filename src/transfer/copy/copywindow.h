#pragma once

#include "controls/dialogue/savedconnections.h"
#include "transfer/copy/copy.h"
#include "transfer/transferwindow.h"

class ObjectChoice;
class QCheckBox;
class QComboBox;
class QLineEdit;

// "copyWindow": what of one database goes to another connection. The target is looked at first, then asked
// about.
class CopyWindow : public TransferWindow {
    Q_OBJECT

public:
    CopyWindow(Session &session, const QString &database, const QStringList &objects,
               const QStringList &chosen, SavedConnections saved);
    ~CopyWindow() override;

protected:
    void start() override;
    void ended(bool hasFailed) override;
    bool isOnlyLooking() const override { return m_looking != nullptr; }

private:
    QWidget *parts();
    void fillConnections();
    QString whatIsMissing() const;
    CopyOptions options() const;
    bool confirms(const TargetLook &look);
    void copy(const TargetLook &look);

    const QString m_database;
    const SavedConnections m_saved;
    const std::vector<ConnectionProfile> m_targets; // that can be chosen
    ObjectChoice *m_objects;
    QComboBox *m_connection;
    QLineEdit *m_targetDatabase;
    QCheckBox *m_rows, *m_routines, *m_triggers, *m_events, *m_definers, *m_replaces;

    // Of the run: both ends as they were when it was started, and what is asked about.
    std::unique_ptr<Session> m_from, m_to;
    CopyOptions m_what;
    std::shared_ptr<std::optional<TargetLook>> m_looking; // that a run on the thread fills
};

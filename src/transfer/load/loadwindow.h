#pragma once

#include "transfer/load/scriptlook.h"
#include "transfer/transferwindow.h"

#include <optional>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

// "loadWindow": a file of SQL is looked at first, then run.
class LoadWindow : public TransferWindow {
    Q_OBJECT

public:
    explicit LoadWindow(Session &session);

protected:
    void start() override;
    void ended(bool hasFailed) override;
    bool isOnlyLooking() const override { return m_looking != nullptr; }

private:
    void buildForm();
    void browse();
    void look();
    bool confirmsWhatWasFound();
    void showLook();
    std::function<bool(std::string &)> rewriting() const;

    QLineEdit *m_path, *m_database;
    QPushButton *m_lookButton;
    QPlainTextEdit *m_found;
    QComboBox *m_encoding;
    QCheckBox *m_inTransaction, *m_goesOn, *m_replaces, *m_skipsGtids;
    const ServerInfo m_server;
    std::optional<ScriptLook> m_look;                     // of the file that was looked at
    QString m_lookedAt;                                   // the file as it was then
    std::shared_ptr<std::optional<ScriptLook>> m_looking; // that a run on the thread fills
};

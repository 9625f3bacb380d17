#pragma once

#include "controls/dialogue/widgetdialogue.h"
#include "sheets/sheetpage.h"
#include "sheets/sheetsettings.h"

#include <QHash>
#include <QWidget>

#include <functional>
#include <memory>

class QCheckBox;
class QLabel;
class QMenu;
class QPushButton;
class QTabWidget;
class QToolButton;

// SQL texts in tabs, each with a connection of its own. What was typed is kept in drafts, whatever ends the
// program. Deletes itself when it is closed.
class SheetWindow : public QWidget {
    Q_OBJECT

public:
    // dialogue: who answers in a test; null: real boxes.
    SheetWindow(Session &session, SheetServices services, std::unique_ptr<Dialogue> dialogue = nullptr);
    ~SheetWindow() override;

    void addSheet();
    // Of the saved connection, in place of what its sheets know of it.
    void takeMarks(const ConnectionProfile &profile);
    // Of statements, for the sheet that is shown. As SheetServices::openHistory.
    QString openHistory();
    // Into an empty sheet that works with the settings; without any, with those of the main window.
    void propose(const QString &text, std::unique_ptr<Session> there = {});

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    static inline const QString sizeKey = QStringLiteral("sheets");
    static constexpr QSize standardSize{1000, 720};

    void buildLayout();
    void connectControls();
    void addKeys();
    void buildFormatMenu();
    void format();
    void restoreDrafts();
    SheetPage *page() const;
    SheetPage *pageAt(int index) const;
    SheetPage *add(std::unique_ptr<Draft> draft);
    SheetOptions options() const;
    void showState();
    bool isSafe() const;
    void setSafe(bool isOn);
    void showTitles();
    void closeSheet(int index);
    // close: carried out later, when a commit comes first.
    bool mayClose(SheetPage &page, const std::function<void()> &close);
    void openFile();
    void openPath(const QString &path);
    bool saveFile();
    void fillRecent(QMenu &menu);
    void runScriptFile();
    QString folder() const;

    Session &m_session;
    const SheetSettings m_settings;
    SheetServices m_services;
    std::unique_ptr<Dialogue> m_dialogue;
    QTabWidget *m_tabs;
    QPushButton *m_runStatement, *m_runSheet, *m_stop, *m_commit, *m_rollback, *m_open, *m_save, *m_script,
        *m_history, *m_edit, *m_pin;
    QToolButton *m_recent, *m_format;
    QCheckBox *m_autocommit, *m_goesOn, *m_safeMode;
    QLabel *m_state, *m_transaction;
    QHash<QString, bool> m_safeModes; // chosen here, by the connection's id
    ConnectionProfile m_profile;      // whose strip the window shows
    int m_number = 0;                 // of the last sheet without a file
};

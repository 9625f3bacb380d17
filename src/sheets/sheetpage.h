#pragma once

#include "controls/text/wordcompletion.h"
#include "controls/window/windowpump.h"
#include "core/command/dialogue.h"
#include "core/session/draft.h"
#include "core/session/historystore.h"
#include "core/sql/format.h"
#include "sheets/historywalk.h"
#include "sheets/sheetcontents.h"
#include "sheets/sheeteditor.h"
#include "sheets/sheetservices.h"
#include "sheets/sheetthread.h"

#include <QElapsedTimer>
#include <QWidget>

#include <functional>

class SheetResults;

// What all sheets of a window share.
struct SheetSurroundings {
    Session &session;   // the windows' own: its settings are copied, its log is written
    Dialogue &dialogue; // titled as the window
    const SheetServices &services;
};

// How a run is to behave, as the window's boxes say.
struct SheetOptions {
    bool goesOnAtErrors = false;
    bool isSafe = true; // asks before what takes many rows away
};

// One sheet: a text, its connection, and the results of its last run.
class SheetPage : public QWidget {
    Q_OBJECT

public:
    // name: shown while it has no file.
    SheetPage(const SheetSurroundings &surroundings, std::unique_ptr<Draft> draft, const QString &name);
    ~SheetPage() override; // what runs is stopped, in the background

    void runStatement(const SheetOptions &options); // at the cursor
    void runAll(const SheetOptions &options);       // or what is chosen
    void runScript(const ScriptOptions &options);
    void stop();
    void commit() { send(QStringLiteral("commit")); }
    void rollback() { send(QStringLiteral("rollback")); }
    void setAutocommit(bool isOn);
    void offerWords();
    void format(KeywordCase keywords);
    // The rows of the result that is shown, where it is one of one table.
    void editResult();
    bool mayEditResult() const;
    SheetResults &results() { return *m_results; }

    // Empty where it succeeded.
    QString open(const QString &path);
    QString save(const QString &path);
    QString path() const { return m_contents.path; }
    // Its file holds what could not be read, and would lose it by being saved.
    bool isDamaged() const { return m_contents.isDamaged; }
    // Somebody else has written into its file since it was read or saved here.
    bool isFileOthers() const { return m_contents.isFileOthers(); }
    // In the place of all, or of what is chosen; what stood there comes back by undo.
    void put(const QString &text);
    void insert(const QString &text);

    QString title() const; // with the signs for changed and running
    QString state() const;
    bool isRunning() const { return m_isRunning || isEditing(); }
    // Something of a result's editing waits for the server.
    bool isEditing() const { return m_settings && m_settings->runner.isRunning(); }
    // Stops that, and carries the action out once it has ended.
    void leaveEditing(const std::function<void()> &action) { m_settings->runner.leave(this, action); }
    // False: unsaved rows of a result are to be kept.
    bool mayLeaveResults();
    bool isInTransaction() const { return m_isInTransaction; }
    bool isAutocommit() const { return m_isAutocommit; }
    bool isEmpty() const { return m_editor->length() == 0; }
    bool isChanged() const { return m_contents.isChanged; }
    bool hasGrid() const;
    bool isResultPinned() const;
    // The action comes once the commit has succeeded.
    void commitAndThen(const std::function<void()> &action);
    void keepDraft(); // at once
    void removeDraft() { m_draft->remove(); }
    SheetEditor &editor() { return *m_editor; }
    const ConnectionProfile &profile() const { return settings().profile; }
    // Whether what it runs goes, or would go, where the session's connections go.
    bool isFor(const Session &session) const;
    // Its connection, which it does not have yet, will be made with these settings and not with the
    // program's.
    void workOn(std::unique_ptr<Session> there);
    void takeMarks(const ConnectionProfile &profile)
    {
        for (Session *own : {m_settings.get(), m_there.get()})
            if (own)
                own->profile.takeMarks(profile);
    }

Q_SIGNALS:
    void changed();  // title or state
    void finished(); // what ran

private:
    struct Sent { // a statement of the run
        QByteArray text;
        int place = 0; // in the editor, bytes
    };

    const Session &settings() const
    {
        return m_settings ? *m_settings : m_there ? *m_there : m_around.session;
    }
    void buildLayout();
    void addKeys();
    void restore(const SheetContents &contents);
    void connectToServer();
    void noteServer();
    void start(const std::function<void(SheetWorker &)> &work);
    void runPieces(const QByteArray &text, int offset, bool isScript, const SheetOptions &options);
    void askAndRun(const SheetNews &looked);
    void send(const QString &statement);

    // sheetediting: the rows of its results.
    void lendConnection();
    void takeEditingEnd();

    // sheetnews: what comes from the connection's thread.
    void take(const SheetNews &news);
    void takeFields(const SheetNews &news);
    void takeEnd(const SheetNews &news);
    void takeFailure(const SheetNews &news);
    void takeReport(const ScriptReport &report);
    void takeFinish(const SheetNews &news);
    void note(const SheetNews &news, const QString &error);
    const Sent *sentOf(const SheetNews &news) const; // null: it is of none of the user's statements
    static QString seconds(qint64 microseconds);     // "1.234 秒"
    QString progressText(const ScriptProgress &progress) const;
    QString nameOf(int statement) const;

    SheetSurroundings m_around;
    std::unique_ptr<Draft> m_draft;
    SheetContents m_contents;
    SheetEditor *m_editor;
    SheetResults *m_results;
    WordCompletion m_completion;
    HistoryWalk m_walk;
    QTimer *m_draftTimer, *m_clockTimer;

    WindowPump m_pump; // for what the windows do themselves on the sheet's connection
    // The settings that the connection was made with: the windows may have gone to another server since. Its
    // own connection is the sheet's, borrowed.
    std::shared_ptr<Session> m_settings;
    std::unique_ptr<Session> m_there; // null: it goes by what the main window has chosen when it connects
    std::unique_ptr<SheetThread> m_thread;
    std::vector<Sent> m_sent;
    qsizetype m_statementCount = 0;       // of the run, as far as it is known before
    int m_offset = 0;                     // of its text in the editor
    std::optional<SheetRun> m_waitingRun; // until it is known what is to be asked about it
    std::optional<SheetNews> m_looked;    // that
    QElapsedTimer m_clock;
    QString m_database, m_progress, m_draftFailure, m_lastSeconds;
    bool m_isRunning = false, m_isInTransaction = false, m_isAutocommit = true, m_wantsWords = false;
    bool m_hasFailed = false; // something of what ran last
    bool m_isResultTold = false, m_hasGrid = false;
};

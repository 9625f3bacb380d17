#include "sheets/sheetpage.h"

#include "core/command/writing.h"
#include "core/session/filetext.h"
#include "core/session/wholefile.h"
#include "sheets/sheetresults.h"

#include <QFileInfo>
#include <QShortcut>
#include <QSplitter>
#include <QTime>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int draftDelay = 1000; // milliseconds after the last key

std::string_view viewOf(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

} // namespace

SheetPage::SheetPage(const SheetSurroundings &surroundings, std::unique_ptr<Draft> draft, const QString &name)
    : m_around(surroundings)
    , m_draft(std::move(draft))
    , m_editor(new SheetEditor)
    , m_results(new SheetResults)
    , m_completion(*m_editor)
    , m_walk(surroundings.services.lastStatements)
    , m_draftTimer(new QTimer(this))
    , m_clockTimer(new QTimer(this))
{
    m_editor->setObjectName(QStringLiteral("sheetText"));
    m_editor->setAccessibleName(QStringLiteral("SQL文"));
    buildLayout();
    addKeys();
    restore(SheetContents::of(m_draft->contents()));
    if (m_contents.name.isEmpty())
        m_contents.name = name;
    m_draftTimer->setSingleShot(true);
    m_draftTimer->setInterval(draftDelay);
    connect(m_draftTimer, &QTimer::timeout, this, &SheetPage::keepDraft);
    m_clockTimer->setInterval(200);
    connect(m_clockTimer, &QTimer::timeout, this, &SheetPage::changed);
    connect(m_editor, &QsciScintilla::textChanged, this, [this] {
        m_draftTimer->start();
        if (!std::exchange(m_contents.isChanged, true))
            Q_EMIT changed();
    });
    connect(m_editor, &StatementBox::refused, this,
            [this](const QString &words) { m_around.dialogue.refuse(words); });
    setFocusProxy(m_editor);
}

SheetPage::~SheetPage()
{
    if (m_settings)
        m_settings->gCn.reset(); // it works in the thread that goes
}

void SheetPage::buildLayout()
{
    auto *splitter = new QSplitter(Qt::Vertical);
    splitter->addWidget(m_editor);
    splitter->addWidget(m_results);
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);
    splitter->setChildrenCollapsible(false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(splitter);
}

void SheetPage::addKeys()
{
    const auto step = [this](QKeyCombination key, auto text) {
        connect(new QShortcut(key, m_editor, nullptr, nullptr, Qt::WidgetShortcut), &QShortcut::activated,
                this, [this, text] {
                    if (const QString statement = text(); !statement.isNull())
                        put(statement);
                });
    };
    step(Qt::ALT | Qt::Key_Up, [this] { return m_walk.older(m_editor->contents()); });
    step(Qt::ALT | Qt::Key_Down, [this] { return m_walk.newer(); });
}

void SheetPage::restore(const SheetContents &contents)
{
    m_contents = contents;
    m_editor->setContents(contents.text);
    m_editor->setEolMode(contents.text.contains(QStringLiteral("\r\n")) ? QsciScintilla::EolWindows
                                                                        : QsciScintilla::EolUnix);
    m_editor->SendScintilla(QsciScintilla::SCI_EMPTYUNDOBUFFER);
    m_editor->setCursorPlace(contents.cursor);
}

void SheetPage::keepDraft()
{
    m_draftTimer->stop();
    m_contents.text = QString::fromUtf8(m_editor->bytes());
    m_contents.cursor = m_editor->cursorPlace();
    const QString failure = m_draft->save(m_contents.object());
    if (std::exchange(m_draftFailure, failure) != failure)
        Q_EMIT changed();
}

void SheetPage::connectToServer()
{
    const Session &from = settings();
    m_database = from.gDbName;
    m_settings = siblingOf(from, m_database);
    connect(&m_settings->runner, &Runner::started, this, &SheetPage::changed);
    connect(&m_settings->runner, &Runner::idle, this, &SheetPage::takeEditingEnd);
    m_thread = std::make_unique<SheetThread>(*m_settings, m_database);
    connect(&m_thread->worker(), &SheetWorker::came, this, &SheetPage::take);
    lendConnection();
    noteServer();
}

// The sheet may come back when the program is connected elsewhere.
void SheetPage::noteServer()
{
    m_contents.server = serverName(settings());
    m_draftTimer->start();
}

bool SheetPage::isFor(const Session &session) const
{
    const auto way = [](const Session &of) {
        return QStringList{of.profile.id, of.gDsn, of.gServer, of.gPort, of.gUser};
    };
    return (!m_thread && !m_there) || way(settings()) == way(session);
}

void SheetPage::workOn(std::unique_ptr<Session> there)
{
    if (m_thread)
        return;
    m_there = std::move(there);
    m_database = m_there->gDbName;
    noteServer();
    Q_EMIT changed();
}

void SheetPage::start(const std::function<void(SheetWorker &)> &work)
{
    if (isRunning())
        return;
    m_isRunning = true;
    m_hasFailed = false;
    m_clock.start();
    m_clockTimer->start();
    m_progress.clear();
    if (!m_thread)
        connectToServer();
    SheetWorker &running = m_thread->worker();
    running.begin();
    QMetaObject::invokeMethod(
        &running, [&running, work] { work(running); }, Qt::QueuedConnection);
    Q_EMIT changed();
}

void SheetPage::stop()
{
    m_waitingRun.reset();
    if (isEditing())
        m_settings->runner.stop();
    else if (m_isRunning)
        m_thread->worker().stop();
}

void SheetPage::runStatement(const SheetOptions &options)
{
    const auto [from, to] = m_editor->selection();
    if (from != to)
        return runAll(options);
    const QByteArray text = m_editor->bytes();
    const int place = m_editor->cursorPlace();
    for (const ScriptPiece &piece : m_editor->pieces(viewOf(text)))
        // Behind the last one's delimiter it is still meant.
        if (piece.end >= place || piece.end == text.trimmed().size()) {
            const int start = static_cast<int>(piece.start);
            return runPieces(text.mid(start, static_cast<qsizetype>(piece.text.size())), start,
                             piece.kind == ScriptPiece::Kind::Source, options);
        }
    m_around.dialogue.inform(QStringLiteral("SQL文を入力してください。"));
}

void SheetPage::runAll(const SheetOptions &options)
{
    const auto [from, to] = m_editor->selection();
    const QByteArray text = m_editor->bytes();
    if (from != to)
        runPieces(text.mid(from, to - from), from, true, options);
    else
        runPieces(text, 0, true, options);
}

// One statement alone is taken as it is: it may hold a delimiter of its own.
void SheetPage::runPieces(const QByteArray &text, int offset, bool isScript, const SheetOptions &options)
{
    if (isRunning())
        return;
    std::vector<ScriptPiece> pieces;
    if (isScript)
        pieces = m_editor->pieces(viewOf(text));
    else
        pieces.push_back({.text = viewOf(text)});
    if (pieces.empty()) {
        m_around.dialogue.inform(QStringLiteral("SQL文を入力してください。"));
        return;
    }
    if (!m_results->mayBeginRun())
        return;
    m_sent.clear();
    m_statementCount = static_cast<qsizetype>(pieces.size());
    m_offset = offset;
    m_editor->clearError();
    m_waitingRun = {text, isScript, options.goesOnAtErrors, options.isSafe,
                    QFileInfo(m_contents.path).path()};
    // How the server reads the text is only known when it is connected.
    start([run = *m_waitingRun](SheetWorker &running) { running.look(run); });
}

// Once for the whole run.
void SheetPage::askAndRun(const SheetNews &looked)
{
    const std::optional<SheetRun> run = std::exchange(m_waitingRun, {});
    if (!run) // stopped
        return;
    if (looked.mayChange && !confirmsWriting(settings(), m_around.dialogue))
        return;
    if (!looked.texts.isEmpty() &&
        !m_around.dialogue.warn(
            serverName(settings()) + QStringLiteral(": 多くの行や定義が失われる文です。\r\n") +
            looked.texts.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n実行しますか？")))
        return;
    m_walk.end();
    m_results->beginRun();
    start([run = *run](SheetWorker &running) { running.run(run); });
}

void SheetPage::runScript(const ScriptOptions &options)
{
    if (isRunning() || !m_results->mayBeginRun() || !confirmsWriting(settings(), m_around.dialogue))
        return;
    m_sent.clear();
    m_results->say(QTime::currentTime().toString() + QStringLiteral("  ファイルを実行: ") + options.path);
    m_results->showMessages();
    start([options](SheetWorker &running) { running.runScriptFile(options); });
}

void SheetPage::send(const QString &statement)
{
    if (isRunning())
        return;
    m_sent.clear(); // it is none of the user's statements
    start([statement](SheetWorker &running) { running.sendAlone(statement); });
}

void SheetPage::setAutocommit(bool isOn)
{
    if (isRunning() || std::exchange(m_isAutocommit, isOn) == isOn)
        return;
    m_sent.clear();
    start([isOn](SheetWorker &running) { running.setAutocommit(isOn); });
}

void SheetPage::offerWords()
{
    m_wantsWords = !m_completion.hasNames() && !isRunning();
    if (m_wantsWords)
        start([](SheetWorker &running) { running.readNames(); });
    else
        m_completion.offer();
}

void SheetPage::format(KeywordCase keywords)
{
    const auto [from, to] = m_editor->selection();
    const QByteArray text = m_editor->bytes();
    const bool isPart = from != to;
    const QByteArray part = isPart ? text.mid(from, to - from) : text;
    const QByteArray formatted = formattedSql(part, m_editor->mode(), keywords);
    // A layout that would change what is run is none.
    if (formatted != part && haveSameTokens(part, formatted, m_editor->mode(), true))
        m_editor->replace(isPart ? from : 0, isPart ? to : static_cast<int>(text.size()), formatted);
}

void SheetPage::put(const QString &text)
{
    m_editor->replaceContents(text);
}

void SheetPage::insert(const QString &text)
{
    m_editor->insertStatement(text);
}

bool SheetPage::hasGrid() const
{
    return m_results->shown();
}

bool SheetPage::isResultPinned() const
{
    return m_results->isPinned();
}

void SheetPage::commitAndThen(const std::function<void()> &action)
{
    commit();
    connect(
        this, &SheetPage::finished, this,
        [this, action] {
            if (!m_hasFailed) // from the event loop: the action may close this sheet
                QMetaObject::invokeMethod(this, action, Qt::QueuedConnection);
        },
        Qt::SingleShotConnection);
}

QString SheetPage::open(const QString &path)
{
    SheetContents contents;
    if (const QString failure = contents.read(path); !failure.isEmpty())
        return failure;
    contents.name = m_contents.name;
    contents.server = m_contents.server;
    restore(contents);
    m_contents.isChanged = false; // the editor tells of its new text as of a change
    keepDraft();
    Q_EMIT changed();
    return {};
}

QString SheetPage::save(const QString &path)
{
    const QByteArray written = encoded(m_editor->bytes(), m_contents.encoding);
    const QString failure = saveWholeFile(path, written);
    if (!failure.isEmpty())
        return failure;
    m_contents.noteFile(path, written);
    if (written.startsWith("\xef\xbb\xbf"))
        m_contents.encoding = FileText::Encoding::Utf8Mark;
    m_contents.isDamaged = false;
    keepDraft();
    Q_EMIT changed();
    return {};
}

QString SheetPage::title() const
{
    const QString name = m_contents.path.isEmpty() ? m_contents.name : QFileInfo(m_contents.path).fileName();
    return (isRunning() ? QStringLiteral("▶ ") : QString()) + name +
           (m_contents.isChanged ? QStringLiteral(" *") : QString());
}

QString SheetPage::state() const
{
    QStringList parts;
    if (!m_draftFailure.isEmpty())
        parts << QStringLiteral("下書きを保存できません: ") + m_draftFailure;
    if (!m_contents.server.isEmpty() && m_contents.server != serverName(settings()))
        parts << QStringLiteral("別のサーバーで使っていたシートです: ") + m_contents.server;
    if (isEditing())
        parts << m_settings->runner.what() + QStringLiteral("…");
    else if (m_isRunning)
        parts << (m_progress.isEmpty()
                      ? QStringLiteral("実行中… %1").arg(seconds(m_clock.elapsed() / 100 * 100'000))
                      : m_progress);
    else if (!m_lastSeconds.isEmpty())
        parts << m_lastSeconds;
    // The strip above tells of saved connections only, and the main window may have gone to another server.
    const bool isNamed = (m_settings || m_there) && !profile().isSaved();
    const QString where = isNamed ? serverName(settings()) + u' ' + m_database : m_database;
    if (!where.isEmpty())
        parts << where.trimmed();
    if (m_contents.encoding != FileText::Encoding::Utf8 || m_contents.isDamaged)
        parts << encodingName(m_contents.encoding) +
                     (m_contents.isDamaged ? QStringLiteral("（読めない文字があります）") : QString());
    if (const SheetResult *result = m_results->shown(); result && !result->editor())
        parts << (result->table().name.isEmpty()
                      ? QStringLiteral("読み取り専用: ") + result->table().why
                      : QStringLiteral("%1の行（「編集」で変更できます）").arg(result->table().name));
    return parts.join(QStringLiteral("　"));
}

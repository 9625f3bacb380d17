#include "transfer/load/loadwindow.h"

#include "controls/window/building.h"
#include "core/command/script.h"
#include "core/command/writing.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include <utility>

namespace {

// Another when another program has written the file.
QString stateOf(const QString &path)
{
    const QFileInfo file(path);
    return QStringLiteral("%1 %2 %3").arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch()).arg(path);
}

// isInTransaction: it was to be.
QString told(const ScriptReport &report, bool isInTransaction)
{
    QString text = report.isComplete && report.errors == 0 ? QStringLiteral("読み込みました。")
                   : report.isStopped                      ? QStringLiteral("中断しました。")
                                                           : QStringLiteral("エラーがありました。");
    text += QStringLiteral(" 文: %1、変更した行: %2、警告: %3、エラー: %4")
                .arg(report.statements)
                .arg(report.rowsTouched)
                .arg(report.warnings)
                .arg(report.errors);
    if (report.isTakenBack)
        text += QStringLiteral("\nトランザクションは取り消しました"
                               "（CREATE や ALTER は、サーバーが自動で確定するため残ります）。");
    else if (!report.isComplete && isInTransaction)
        // The connection is gone, and with it what was not committed.
        text += QStringLiteral(
            "\n接続が切れたので、サーバーがトランザクションを取り消します。確定の直前に切れたときは"
            "確定していることがあります（CREATE や ALTER は残ります）。");
    else if (!report.isComplete)
        text += QStringLiteral("\nここまでに実行した文の結果は残っています。");
    for (const ScriptError &error : report.firstErrors)
        text += u'\n' + (error.line > 0 ? QStringLiteral("%1 行目: ").arg(error.line) : QString()) +
                error.description +
                (error.statement.isEmpty() ? QString() : QStringLiteral("\n    ") + error.statement);
    return text;
}

TransferReport load(Session &session, const ScriptOptions &options, const ReportProgress &report)
{
    const ScriptReport done = runScript(session, options, [&](const ScriptProgress &progress) {
        try {
            // Bytes of the file: how many rows come nobody knows.
            report({.object = QStringLiteral("%1 文、").arg(progress.statements),
                    .finished = 0,
                    .objects = 0,
                    .rows = progress.rowsTouched,
                    .expectedRows = 0,
                    .bytes = progress.bytesRead,
                    .expectedBytes = progress.byteCount});
        } catch (const Failure &) {
            session.runner.stop(); // the runner of the script ends by it and tells how far it came
        }
    });
    if (!done.isComplete || done.errors > 0)
        throw HalfDone(told(done, options.isInTransaction));
    return told(done, options.isInTransaction);
}

} // namespace

LoadWindow::LoadWindow(Session &session)
    : TransferWindow(session, "loadWindow", QStringLiteral("SQL ファイルの読み込み"), "startLoad")
    , m_path(made<QLineEdit>("loadPath"))
    , m_database(made<QLineEdit>("loadDatabase"))
    , m_lookButton(made<QPushButton>("loadLook", QStringLiteral("中身を調べる")))
    , m_found(made<QPlainTextEdit>("loadFound"))
    , m_encoding(made<QComboBox>("loadEncoding"))
    , m_inTransaction(made<QCheckBox>("loadInTransaction",
                                      QStringLiteral("ひとつのトランザクションで（エラーで取り消す）")))
    , m_goesOn(made<QCheckBox>("loadGoesOn", QStringLiteral("エラーでも続ける")))
    , m_replaces(
          made<QCheckBox>("loadReplaces", QStringLiteral("サーバーにない照合順序を近いものに置き換える")))
    , m_skipsGtids(tick("loadSkipsGtids", QStringLiteral("GTID とバイナリログの設定を飛ばす"), true,
                        QStringLiteral("ファイルの元のサーバーのレプリカを作るときだけ外します")))
    , m_server(session.gCn ? session.gCn->server() : ServerInfo())
{
    buildForm();
    resize(760, 600);
}

void LoadWindow::buildForm()
{
    m_found->setReadOnly(true);
    m_found->setAccessibleName(QStringLiteral("ファイルの中身"));
    m_found->setPlaceholderText(QStringLiteral("ファイルを選ぶと、何が書かれているかをここに表示します"));
    m_database->setText(m_session.gDbName);
    m_database->setPlaceholderText(QStringLiteral("（ファイルの USE に任せる）"));
    m_encoding->addItems({QStringLiteral("UTF-8（またはファイルのバイトのまま）"), QStringLiteral("CP932")});
    m_replaces->setEnabled(false);
    m_skipsGtids->setEnabled(false);
    connect(m_lookButton, &QPushButton::clicked, this, &LoadWindow::look);

    QHBoxLayout *path = pathRow("loadBrowse", m_path, [this] { browse(); });
    path->addWidget(m_lookButton);
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("ファイル (.sql, .sql.gz)："), path);
    fields->addRow(QStringLiteral("文字コード："), m_encoding);
    fields->addRow(QStringLiteral("最初のデータベース："), m_database);
    form()->addLayout(fields);
    form()->addWidget(m_found, 1);
    for (QCheckBox *box : {m_replaces, m_skipsGtids, m_inTransaction, m_goesOn})
        form()->addWidget(box);
}

void LoadWindow::browse()
{
    const QString start = m_path->text().isEmpty() ? m_session.gTextPath : m_path->text();
    const QString path = choosePath(this, PathKind::OpenFile, start,
                                    QStringLiteral("SQL (*.sql *.sql.gz);;すべてのファイル (*)"));
    if (path.isEmpty())
        return;
    m_path->setText(QDir::toNativeSeparators(path));
    look();
}

void LoadWindow::look()
{
    const QString path = m_path->text();
    if (path.isEmpty())
        return tell(QStringLiteral("ファイルを指定してください。"), true);
    const QString before = std::exchange(m_lookedAt, stateOf(path));
    const bool isRewritten = m_look && before != m_lookedAt && before.endsWith(u' ' + path);
    m_looking = std::make_shared<std::optional<ScriptLook>>();
    begin([path, isRewritten, result = m_looking](const ReportProgress &report) {
        *result = lookAtScript(path, [&report](qint64 read, qint64 all) {
            report({.object = QStringLiteral("調べています"), .bytes = read, .expectedBytes = all});
        });
        return isRewritten
                   ? QStringLiteral("ファイルが書き換えられていたので、もう一度調べました。上を確かめて、"
                                    "「開始」で読み込みます。")
                   : QStringLiteral("調べました。「開始」で読み込みます。");
    });
}

void LoadWindow::ended(bool)
{
    if (!m_looking)
        return;
    m_look = *std::exchange(m_looking, nullptr);
    showLook();
}

void LoadWindow::showLook()
{
    m_found->setPlainText(m_look ? textOf(*m_look, m_server) : QString());
    if (!m_look)
        return;
    m_encoding->setCurrentIndex(m_look->isTextOfCp932 && !m_look->isOfDumpTool ? 1 : 0);
    const bool hasUnknown = !unknownCollations(m_look->newCollations, m_server).isEmpty();
    m_replaces->setEnabled(hasUnknown);
    m_replaces->setChecked(false);
    m_skipsGtids->setEnabled(m_look->setsGtids);
}

// Everything that a user may not expect, before the first statement.
bool LoadWindow::confirmsWhatWasFound()
{
    QStringList questions;
    if (!m_look->isComplete)
        questions << QStringLiteral(
            "このファイルは途中で切れています。読み込むと、中途半端なデータになります。");
    if (m_look->drops > 0)
        questions << QStringLiteral("このファイルは %1 個のオブジェクトを、あれば削除します:\n%2")
                         .arg(m_look->drops)
                         .arg(m_look->dropped.join(QStringLiteral(", ")));
    if (!unknownCollations(m_look->newCollations, m_server).isEmpty() && !m_replaces->isChecked())
        questions << QStringLiteral("このサーバーにない照合順序があり、その文は失敗します。");
    if (questions.isEmpty())
        return true;
    QStringList databases = m_look->databases; // the file's own choice has the last word
    if (!m_database->text().isEmpty())
        databases.prepend(u'`' + m_database->text() + u'`');
    databases.removeDuplicates();
    questions.prepend(
        QStringLiteral("読み込み先: %1、データベース: %2").arg(serverName(m_session), databases.join(u' ')));
    return dialogue().warn(questions.join(QStringLiteral("\n\n")) + QStringLiteral("\n\n続けますか？"));
}

std::function<bool(std::string &)> LoadWindow::rewriting() const
{
    const bool replaces = m_replaces->isChecked(), skips = m_look->setsGtids && m_skipsGtids->isChecked();
    if (!replaces && !skips)
        return {};
    return [server = m_server, replaces, skips](std::string &statement) {
        if (skips && isOfGtids(statement)) {
            statement = "DO NULL";
            return true;
        }
        return replaces && replaceCollations(statement, server);
    };
}

void LoadWindow::start()
{
    if (m_path->text().isEmpty())
        return tell(QStringLiteral("ファイルを指定してください。"), true);
    const auto isKnown = [this] { return m_look && m_lookedAt == stateOf(m_path->text()); };
    if (!isKnown())
        return look();
    if (!confirmsWhatWasFound() || !mayWrite(m_session, dialogue()))
        return;
    if (!isKnown()) // written while the box was read
        return look();
    ScriptOptions options;
    options.path = m_path->text();
    options.encoding =
        m_encoding->currentIndex() == 1 ? ScriptFile::Encoding::Cp932 : ScriptFile::Encoding::Bytes;
    options.isInTransaction = m_inTransaction->isChecked();
    options.goesOnAtErrors = m_goesOn->isChecked();
    options.rewrite = rewriting();
    begin(m_database->text(), [options](Session &session, const ReportProgress &report) {
        return load(session, options, report);
    });
}

#include "transfer/dump/dumpwindow.h"

#include "controls/window/building.h"
#include "transfer/objectchoice.h"

#include <QCheckBox>
#include <QDir>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>

DumpWindow::DumpWindow(Session &session, const QString &database, const QStringList &objects,
                       const QStringList &chosen)
    : TransferWindow(session, "dumpWindow", QStringLiteral("ダンプ - ") + database, "startDump")
    , m_database(database)
    , m_objects(new ObjectChoice(QStringLiteral("dump"), objects, chosen))
    , m_structure(tick("dumpStructure", QStringLiteral("定義"), true))
    , m_rows(tick("dumpRows", QStringLiteral("行"), true))
    , m_routines(tick("dumpRoutines", QStringLiteral("ルーチン"), chosen.isEmpty()))
    , m_triggers(tick("dumpTriggers", QStringLiteral("トリガー"), true))
    , m_events(tick("dumpEvents", QStringLiteral("イベント"), chosen.isEmpty()))
    , m_definers(tick("dumpDefiners", QStringLiteral("DEFINER を書く"), true,
                      QStringLiteral("外すと、読み込んだアカウントが DEFINER になります")))
    , m_history(tick("dumpHistory", QStringLiteral("システムバージョンの履歴"), false,
                     QStringLiteral("読み込むサーバーは MariaDB 10.11 以降")))
    , m_createDatabase(
          tick("dumpCreateDatabase", QStringLiteral("CREATE DATABASE と USE を書く"), chosen.isEmpty()))
    , m_drop(tick("dumpDrop", QStringLiteral("DROP … IF EXISTS を書く"), true,
                  QStringLiteral("読み込むと、同じ名前のものは消えて作り直されます")))
    , m_insertSize(made<QSpinBox>("dumpInsertSize"))
    , m_condition(made<QLineEdit>("dumpCondition"))
    , m_path(made<QLineEdit>("dumpPath"))
    , m_oneFile(made<QRadioButton>("dumpOneFile", QStringLiteral("1 つのファイル")))
    , m_folder(made<QRadioButton>("dumpFolder", QStringLiteral("フォルダー（オブジェクトごとのファイル）")))
{
    buildForm();
    resize(760, 620);
}

void DumpWindow::buildForm()
{
    m_insertSize->setRange(1, 512 * 1024);
    m_insertSize->setValue(1024);
    m_insertSize->setSuffix(QStringLiteral(" KB"));
    m_insertSize->setToolTip(QStringLiteral("読み込むサーバーの max_allowed_packet より小さく"));
    m_condition->setPlaceholderText(QStringLiteral("例: created >= '2026-01-01'（すべてのテーブルに）"));
    m_path->setText(startPath());
    m_oneFile->setChecked(true);
    makeOptionGroup(this, {m_oneFile, m_folder});

    auto *upper = new QHBoxLayout;
    upper->addWidget(m_objects, 1);
    upper->addWidget(parts());
    auto *kindRow = new QHBoxLayout;
    kindRow->addWidget(m_oneFile);
    kindRow->addWidget(m_folder);
    kindRow->addStretch();
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("WHERE："), m_condition);
    fields->addRow(QStringLiteral("INSERT の大きさ："), m_insertSize);
    fields->addRow(QStringLiteral("書き込み先："), kindRow);
    fields->addRow(QStringLiteral("パス（.gz で圧縮）："),
                   pathRow("dumpBrowse", m_path, [this] { browse(); }));
    form()->addLayout(upper, 1);
    form()->addLayout(fields);
}

QWidget *DumpWindow::parts()
{
    auto *group = new QGroupBox(QStringLiteral("書くもの"));
    auto *rows = new QVBoxLayout(group);
    for (QCheckBox *box : {m_structure, m_rows, m_routines, m_triggers, m_events, m_definers, m_history,
                           m_createDatabase, m_drop})
        rows->addWidget(box);
    rows->addStretch();
    return group;
}

void DumpWindow::browse()
{
    const QString chosenPath = choosePath(this, m_folder->isChecked() ? PathKind::Folder : PathKind::SaveFile,
                                          m_path->text(), QStringLiteral("SQL (*.sql *.sql.gz)"));
    if (!chosenPath.isEmpty())
        m_path->setText(QDir::toNativeSeparators(chosenPath));
}

QString DumpWindow::startPath() const
{
    const QString folder = m_session.gTextPath.isEmpty() ? QDir::homePath() : m_session.gTextPath;
    return QDir::toNativeSeparators(QDir(folder).filePath(m_database + QStringLiteral(".sql")));
}

DumpOptions DumpWindow::options() const
{
    DumpOptions options;
    options.database = m_database;
    options.objects = m_objects->chosen();
    options.hasStructure = m_structure->isChecked();
    options.hasRows = m_rows->isChecked();
    options.hasRoutines = m_routines->isChecked();
    options.hasTriggers = m_triggers->isChecked();
    options.hasEvents = m_events->isChecked();
    options.hasDefiners = m_definers->isChecked();
    options.hasHistory = m_history->isChecked();
    options.createsDatabase = m_createDatabase->isChecked();
    options.drops = m_drop->isChecked();
    options.condition = m_condition->text().trimmed();
    options.insertBytes = m_insertSize->value() * 1024;
    return options;
}

void DumpWindow::start()
{
    const DumpOptions what = options();
    const DumpTarget target{m_path->text(), m_folder->isChecked()};
    if (!m_objects->isUsable())
        return tell(QStringLiteral("テーブルかビューをひとつ以上選んでください。"), true);
    if (!what.hasStructure && !what.hasRows)
        return tell(QStringLiteral("「定義」か「行」を選んでください。"), true);
    if (target.path.isEmpty())
        return tell(QStringLiteral("書き込み先を指定してください。"), true);
    if (target.isFolder && !QFileInfo(target.path).isDir())
        return tell(QStringLiteral("フォルダー「%1」がありません。").arg(target.path), true);
    if (!mayReplace(target.isFolder ? QDir(target.path).filePath(QStringLiteral("load.sql")) : target.path))
        return;
    begin(m_database, [what, target](Session &session, const ReportProgress &report) {
        return reportOf(dump(session, what, target, report), target);
    });
}

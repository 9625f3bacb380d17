#include "transfer/dump/dumpwindow.h"

#include "controls/window/building.h"

#include <QCheckBox>
#include <QDir>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

namespace {

QCheckBox *tick(const char *name, const QString &text, bool isOn, const QString &tip = {})
{
    auto *box = made<QCheckBox>(name, text);
    box->setChecked(isOn);
    box->setToolTip(tip);
    return box;
}

} // namespace

DumpWindow::DumpWindow(Session &session, const QString &database, const QStringList &objects,
                       const QStringList &chosen)
    : TransferWindow(session, "dumpWindow", QStringLiteral("ダンプ - ") + database, "startDump")
    , m_database(database)
    , m_objects(made<QListWidget>("dumpObjects"))
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
    buildForm(objects, chosen);
    resize(760, 620);
}

void DumpWindow::buildForm(const QStringList &objects, const QStringList &chosen)
{
    for (const QString &name : objects) {
        auto *item = new QListWidgetItem(name, m_objects);
        item->setCheckState(chosen.isEmpty() || chosen.contains(name) ? Qt::Checked : Qt::Unchecked);
    }
    m_objects->setItemDelegate(new VisibleItems(m_objects));
    m_objects->setAccessibleName(QStringLiteral("ダンプするテーブルとビュー"));
    m_insertSize->setRange(1, 512 * 1024);
    m_insertSize->setValue(1024);
    m_insertSize->setSuffix(QStringLiteral(" KB"));
    m_insertSize->setToolTip(QStringLiteral("読み込むサーバーの max_allowed_packet より小さく"));
    m_condition->setPlaceholderText(QStringLiteral("例: created >= '2026-01-01'（すべてのテーブルに）"));
    m_path->setText(startPath());
    m_oneFile->setChecked(true);
    makeOptionGroup(this, {m_oneFile, m_folder});

    auto *parts = new QGroupBox(QStringLiteral("書くもの"));
    auto *partRows = new QVBoxLayout(parts);
    for (QCheckBox *box : {m_structure, m_rows, m_routines, m_triggers, m_events, m_definers, m_history,
                           m_createDatabase, m_drop})
        partRows->addWidget(box);
    partRows->addStretch();

    auto *list = new QGroupBox(QStringLiteral("テーブルとビュー"));
    auto *listRows = new QVBoxLayout(list);
    auto *all = made<QPushButton>("dumpAll", QStringLiteral("すべて"));
    auto *none = made<QPushButton>("dumpNone", QStringLiteral("なし"));
    const auto setAll = [this](Qt::CheckState state) {
        for (int i = 0; i < m_objects->count(); ++i)
            m_objects->item(i)->setCheckState(state);
    };
    connect(all, &QPushButton::clicked, this, [setAll] { setAll(Qt::Checked); });
    connect(none, &QPushButton::clicked, this, [setAll] { setAll(Qt::Unchecked); });
    auto *choices = new QHBoxLayout;
    choices->addWidget(all);
    choices->addWidget(none);
    choices->addStretch();
    listRows->addWidget(m_objects);
    listRows->addLayout(choices);

    auto *upper = new QHBoxLayout;
    upper->addWidget(list, 1);
    upper->addWidget(parts);
    auto *browse = made<QPushButton>("dumpBrowse", QStringLiteral("..."));
    browse->setAccessibleName(QStringLiteral("ﾌｧｲﾙを選択"));
    browse->setMaximumWidth(40);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString chosenPath =
            choosePath(this, m_folder->isChecked() ? PathKind::Folder : PathKind::SaveFile, m_path->text(),
                       QStringLiteral("SQL (*.sql *.sql.gz)"));
        if (!chosenPath.isEmpty())
            m_path->setText(QDir::toNativeSeparators(chosenPath));
    });
    auto *pathRow = new QHBoxLayout;
    pathRow->addWidget(m_path);
    pathRow->addWidget(browse);
    auto *kindRow = new QHBoxLayout;
    kindRow->addWidget(m_oneFile);
    kindRow->addWidget(m_folder);
    kindRow->addStretch();
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("WHERE："), m_condition);
    fields->addRow(QStringLiteral("INSERT の大きさ："), m_insertSize);
    fields->addRow(QStringLiteral("書き込み先："), kindRow);
    fields->addRow(QStringLiteral("パス（.gz で圧縮）："), pathRow);
    form()->addLayout(upper, 1);
    form()->addLayout(fields);
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
    bool isAll = true;
    for (int i = 0; i < m_objects->count(); ++i) {
        const QListWidgetItem *item = m_objects->item(i);
        if (item->checkState() == Qt::Checked)
            options.objects << item->text();
        else
            isAll = false;
    }
    if (isAll)
        options.objects.clear(); // also those that were made since the list was read
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
    bool hasTick = m_objects->count() == 0;
    for (int i = 0; i < m_objects->count(); ++i)
        hasTick = hasTick || m_objects->item(i)->checkState() == Qt::Checked;
    if (!hasTick)
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
        return textOf(dump(session, what, target, report), target);
    });
}

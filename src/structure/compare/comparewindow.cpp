#include "structure/compare/comparewindow.h"

#include "controls/text/sqltextbox.h"
#include "controls/window/building.h"
#include "controls/window/desktopcolours.h"
#include "controls/window/windowsize.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"
#include "structure/search/namesearch.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSet>
#include <QSplitter>
#include <QTreeWidget>

namespace {

constexpr int differenceMark = 1;

QString whereText(ComparedObject::Where where)
{
    using Where = ComparedObject::Where;
    return where == Where::OnlyLeft    ? QStringLiteral("左だけ")
           : where == Where::OnlyRight ? QStringLiteral("右だけ")
                                       : QStringLiteral("違う");
}

QString kindText(const ComparedObject &object)
{
    switch (object.kind) {
    case DumpKind::Table:
        return QStringLiteral("テーブル");
    case DumpKind::View:
        return QStringLiteral("ビュー");
    case DumpKind::Trigger:
        return QStringLiteral("トリガー");
    case DumpKind::Event:
        return QStringLiteral("イベント");
    case DumpKind::Sequence:
        return QStringLiteral("シーケンス");
    case DumpKind::Routine:
        break;
    }
    return object.keyword;
}

QString textOf(const std::optional<DumpObject> &object)
{
    if (!object)
        return {};
    return object->kind == DumpKind::View ? viewLayout(object->definition.text) : object->definition.text;
}

QStringList linesOf(const SqlTextBox &box)
{
    QStringList lines = withLf(box.contents()).split(u'\n');
    for (QString &line : lines) {
        line = line.trimmed();
        if (line.endsWith(u','))
            line.chop(1);
    }
    return lines;
}

void mark(SqlTextBox &box, const QStringList &own, const QStringList &others)
{
    const QSet<QString> known(others.begin(), others.end());
    box.markerDeleteAll(differenceMark);
    box.markerDefine(QsciScintilla::Background, differenceMark);
    const QPalette &palette = box.palette();
    constexpr double strength = 0.3;
    box.setMarkerBackgroundColor(
        mixed(palette.color(QPalette::Highlight), palette.color(QPalette::Base), strength), differenceMark);
    for (int line = 0; line < own.size(); ++line)
        if (!own[line].isEmpty() && !known.contains(own[line]))
            box.markerAdd(line, differenceMark);
}

// With the name that the user has given it.
QString shownServer(const Session &session)
{
    const QString server = serverName(session), &name = session.profile.name;
    return name.isEmpty() ? server : QStringLiteral("%1 (%2)").arg(name, server);
}

SqlTextBox *shownText(const char *name, const QString &accessibleName)
{
    auto *box = made<SqlTextBox>(name);
    box->setReadOnly(true);
    box->setAccessibleName(accessibleName);
    return box;
}

QPushButton *tickingButton(QTreeWidget &list, const char *name, const QString &title, Qt::CheckState state)
{
    auto *button = made<QPushButton>(name, title);
    QObject::connect(button, &QPushButton::clicked, &list, [&list, state] {
        for (int row = 0; row < list.topLevelItemCount(); ++row)
            list.topLevelItem(row)->setCheckState(0, state);
    });
    return button;
}

} // namespace

struct CompareWindow::Read {
    DatabaseObjects left, right;
    std::unique_ptr<Session> leftSettings, rightSettings; // they were read with
};

CompareWindow::CompareWindow(Session &session, CompareServices services)
    : TransferWindow(session, "compareWindow", QStringLiteral("データベースの比較"), "startCompare")
    , m_services(std::move(services))
    , m_others(m_services.saved.all())
    , m_left(makeSide("compareLeftConnection", "compareLeftDatabase", "listLeftDatabases"))
    , m_right(makeSide("compareRightConnection", "compareRightDatabase", "listRightDatabases"))
    , m_characterSets(tick("compareCharacterSets", QStringLiteral("文字セットと照合順序"), true))
    , m_tableOptions(tick("compareTableOptions", QStringLiteral("テーブルのオプション"), true))
    , m_definers(tick("compareDefiners", QStringLiteral("DEFINER"), true))
    , m_list(made<QTreeWidget>("compareList"))
    , m_leftText(shownText("compareLeftText", QStringLiteral("左の定義")))
    , m_rightText(shownText("compareRightText", QStringLiteral("右の定義")))
    , m_direction(made<QComboBox>("compareDirection"))
    , m_make(made<QPushButton>("makeStatements", QStringLiteral("文をシートに作る")))
{
    startButton()->setText(QStringLiteral("比較"));
    buildForm();
    connect(m_list, &QTreeWidget::currentItemChanged, this, &CompareWindow::showTexts);
    for (QCheckBox *box : {m_characterSets, m_tableOptions, m_definers})
        connect(box, &QCheckBox::toggled, this, &CompareWindow::showObjects);
    connect(m_make, &QPushButton::clicked, this, &CompareWindow::makeStatements);
    m_make->setEnabled(false);
    restoreSize(*this, m_session.gIniPath, sizeKey, standardSize);
}

CompareWindow::~CompareWindow() = default;

CompareWindow::Side CompareWindow::makeSide(const char *connection, const char *database, const char *list)
{
    const Side side{made<QComboBox>(connection), made<QComboBox>(database),
                    made<QPushButton>(list, QStringLiteral("一覧を読む"))};
    side.list->setToolTip(QStringLiteral("この接続につないで、データベースの一覧を読みます"));
    side.connection->addItem(QStringLiteral("今の接続 (%1)").arg(serverName(m_session)));
    for (const ConnectionProfile &profile : m_others)
        side.connection->addItem(visibleName(profile.name));
    side.database->setEditable(true);
    connect(side.connection, &QComboBox::currentIndexChanged, this, [this, side] { offerDatabases(side); });
    connect(side.list, &QPushButton::clicked, this, [this, side] { listDatabases(side); });
    offerDatabases(side);
    return side;
}

const ConnectionProfile *CompareWindow::profile(const Side &side) const
{
    const int at = side.connection->currentIndex();
    return at < 1 ? nullptr : &m_others[static_cast<std::size_t>(at) - 1];
}

void CompareWindow::offerDatabases(const Side &side)
{
    const ConnectionProfile *other = profile(side);
    m_links.remove(side.database); // of another connection
    side.list->setEnabled(other);
    side.database->clear();
    if (!other)
        side.database->addItems(m_services.databases);
    side.database->setEditText(other ? other->database : m_session.gDbName);
}

void CompareWindow::listDatabases(const Side &side)
{
    const std::unique_ptr<Session> session = sessionOf(side);
    if (!session)
        return;
    auto link = std::make_shared<ServerLink>(*session);
    m_links[side.database] = link;
    side.list->setEnabled(false);
    tell(QStringLiteral("データベースの一覧を読んでいます…"), false);
    const auto end = [this, side](const QString &words, bool hasFailed) {
        side.list->setEnabled(true);
        tell(words, hasFailed);
    };
    link->ask(
        *link, [](Session &own) { return searchableDatabases(own); },
        [side, end](const QStringList &names) {
            const QString typed = side.database->currentText();
            side.database->clear();
            side.database->addItems(names);
            side.database->setEditText(typed);
            end(QStringLiteral("%L1 個のデータベースから選べます。").arg(names.size()), false);
        },
        [this, side, end](const Failure &failure) {
            if (const ConnectionProfile *other = profile(side))
                m_passwords.remove(other->id); // it may be the wrong one
            end(failure.description(), true);
        });
}

void CompareWindow::buildForm()
{
    auto *sides = new QHBoxLayout;
    for (const auto &[title, side] :
         {std::pair{QStringLiteral("左"), m_left}, {QStringLiteral("右"), m_right}}) {
        auto *group = new QGroupBox(title);
        auto *rows = new QFormLayout(group);
        side.connection->setAccessibleDescription(title + QStringLiteral("の接続"));
        side.database->setAccessibleName(title + QStringLiteral("のデータベース"));
        rows->addRow(QStringLiteral("接続"), side.connection);
        side.list->setAccessibleName(title + QStringLiteral("のデータベースの一覧を読む"));
        auto *databases = new QHBoxLayout;
        databases->addWidget(side.database, 1);
        databases->addWidget(side.list);
        rows->addRow(QStringLiteral("データベース"), databases);
        sides->addWidget(group, 1);
    }
    auto *counts = new QHBoxLayout;
    counts->addWidget(new QLabel(QStringLiteral("違いに数えるもの:")));
    for (QCheckBox *box : {m_characterSets, m_tableOptions, m_definers})
        counts->addWidget(box);
    counts->addStretch(1);

    m_list->setHeaderLabels(
        {QStringLiteral("種類"), QStringLiteral("名前"), QStringLiteral("違い"), QStringLiteral("違う所")});
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAccessibleName(QStringLiteral("違うもの"));
    auto *texts = new QSplitter;
    texts->addWidget(m_leftText);
    texts->addWidget(m_rightText);
    auto *both = new QSplitter(Qt::Vertical);
    both->addWidget(m_list);
    both->addWidget(texts);
    both->setStretchFactor(0, 1);
    both->setStretchFactor(1, 1);

    m_direction->addItems({QStringLiteral("右を左と同じにする"), QStringLiteral("左を右と同じにする")});
    m_direction->setAccessibleDescription(QStringLiteral("文の向き"));
    m_make->setToolTip(QStringLiteral("印を付けたものの文を、SQLシートに入れます。実行はしません"));
    auto *making = new QHBoxLayout;
    making->addWidget(tickingButton(*m_list, "compareAll", QStringLiteral("すべて"), Qt::Checked));
    making->addWidget(tickingButton(*m_list, "compareNone", QStringLiteral("なし"), Qt::Unchecked));
    making->addWidget(m_direction);
    making->addWidget(m_make);
    making->addStretch(1);
    form()->addLayout(sides);
    form()->addLayout(counts);
    form()->addWidget(both, 1);
    form()->addLayout(making);
}

// Null: the user gave up.
std::unique_ptr<Session> CompareWindow::sessionOf(const Side &side)
{
    auto session = siblingOf(m_session, {});
    const ConnectionProfile *other = profile(side);
    if (!other)
        return session;
    if (!m_passwords.contains(other->id)) {
        const std::optional<QString> password = m_services.saved.password(*other, this);
        if (!password)
            return nullptr;
        m_passwords[other->id] = *password;
    }
    useProfile(*session, *other, m_passwords[other->id]);
    return session;
}

void CompareWindow::start()
{
    const QString leftName = m_left.database->currentText(), rightName = m_right.database->currentText();
    if (leftName.isEmpty() || rightName.isEmpty())
        return tell(QStringLiteral("データベースを選んで下さい。"), true);
    std::unique_ptr<Session> left = sessionOf(m_left);
    std::unique_ptr<Session> right = left ? sessionOf(m_right) : nullptr;
    if (!right)
        return;
    m_objects.clear();
    m_list->clear();
    showTexts();
    auto read = std::make_shared<Read>();
    m_read = read;
    begin(*left, *right, [=](Session &first, Session &second, const ReportProgress &report) {
        read->left = readDatabase(first.connection(), leftName, QStringLiteral("左"), report);
        read->left.server = shownServer(first);
        read->right = readDatabase(second.connection(), rightName, QStringLiteral("右"), report);
        read->right.server = shownServer(second);
        return QString();
    });
    read->leftSettings = std::move(left);
    read->rightSettings = std::move(right);
}

void CompareWindow::ended(bool hasFailed)
{
    if (!hasFailed)
        return showObjects();
    m_read.reset();      // half of it says nothing
    m_passwords.clear(); // one of them may have been wrong
}

CompareOptions CompareWindow::options() const
{
    return {m_characterSets->isChecked(), m_tableOptions->isChecked(), m_definers->isChecked()};
}

void CompareWindow::showObjects()
{
    if (!m_read)
        return;
    m_objects = compare(m_read->left, m_read->right, options());
    m_list->clear();
    QList<QTreeWidgetItem *> items;
    for (const ComparedObject &object : m_objects) {
        auto *item =
            new QTreeWidgetItem({kindText(object), visibleName(object.name), whereText(object.where),
                                 visibleItem(object.differences.join(QStringLiteral("　")).left(300))});
        item->setToolTip(3, plainTip(object.differences.join(u'\n')));
        item->setCheckState(0, Qt::Unchecked);
        items << item;
    }
    m_list->addTopLevelItems(items);
    for (int column = 0; column < 3; ++column)
        m_list->resizeColumnToContents(column);
    m_make->setEnabled(!m_objects.empty());
    QStringList words = m_read->left.unreadable + m_read->right.unreadable;
    if (m_characterSets->isChecked() && m_read->left.collation != m_read->right.collation)
        words << QStringLiteral("データベースの既定の照合順序が違います: 左 %1、右 %2 (文は作りません)")
                     .arg(m_read->left.collation, m_read->right.collation);
    const QString sizes =
        QStringLiteral("左 %1、右 %2").arg(m_read->left.objects.size()).arg(m_read->right.objects.size());
    words.prepend(m_objects.empty()
                      ? QStringLiteral("違いはありません。(%1)").arg(sizes)
                      : QStringLiteral("違うもの: %1 (%2)").arg(QString::number(m_objects.size()), sizes));
    tell(words.join(u'\n'), false);
    if (!m_objects.empty())
        m_list->setCurrentItem(m_list->topLevelItem(0));
}

void CompareWindow::showTexts()
{
    const int at = m_list->indexOfTopLevelItem(m_list->currentItem());
    const bool isChosen = at >= 0 && static_cast<std::size_t>(at) < m_objects.size();
    m_leftText->setContents(isChosen ? textOf(m_objects[static_cast<std::size_t>(at)].left) : QString());
    m_rightText->setContents(isChosen ? textOf(m_objects[static_cast<std::size_t>(at)].right) : QString());
    markDifferences();
}

void CompareWindow::markDifferences()
{
    const QStringList left = linesOf(*m_leftText), right = linesOf(*m_rightText);
    mark(*m_leftText, left, right);
    mark(*m_rightText, right, left);
}

void CompareWindow::closeEvent(QCloseEvent *event)
{
    keepSize(*this, m_session.gIniPath, sizeKey, standardSize);
    TransferWindow::closeEvent(event);
}

void CompareWindow::changeEvent(QEvent *event)
{
    TransferWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        markDifferences();
}

std::vector<ComparedObject> CompareWindow::chosen() const
{
    std::vector<ComparedObject> objects;
    for (std::size_t at = 0; at < m_objects.size(); ++at)
        if (m_list->topLevelItem(static_cast<int>(at))->checkState(0) == Qt::Checked)
            objects.push_back(m_objects[at]);
    return objects;
}

void CompareWindow::makeStatements()
{
    const std::vector<ComparedObject> objects = chosen();
    if (objects.empty() || !m_read)
        return tell(QStringLiteral("一覧で、文を作るものに印を付けて下さい。"), true);
    const bool isTargetRight = m_direction->currentIndex() == 0;
    const DatabaseObjects &source = isTargetRight ? m_read->left : m_read->right;
    const DatabaseObjects &target = isTargetRight ? m_read->right : m_read->left;
    const Session &settings = isTargetRight ? *m_read->rightSettings : *m_read->leftSettings;
    try {
        m_services.propose(statementsFor(objects, source, target, isTargetRight, options()),
                           siblingOf(settings, target.database));
    } catch (const Failure &error) {
        tell(error.description(), true);
    }
}

#include "transfer/copy/copywindow.h"

#include "controls/window/building.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "transfer/objectchoice.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>

namespace {

QString textOf(const ConnectionProfile &connection)
{
    QStringList marks;
    if (connection.environment != Environment::None)
        marks << environmentText(connection.environment);
    if (connection.isReadOnly)
        marks << QStringLiteral("読み取り専用");
    QString text = visibleName(connection.name);
    if (!connection.server.isEmpty())
        text += QStringLiteral("  %1:%2").arg(visibleName(connection.server), connection.port);
    return marks.isEmpty() ? text : text + QStringLiteral("（%1）").arg(marks.join(QStringLiteral("・")));
}

} // namespace

CopyWindow::CopyWindow(Session &session, const QString &database, const QStringList &objects,
                       const QStringList &chosen, SavedConnections saved)
    : TransferWindow(session, "copyWindow", QStringLiteral("別の接続へコピー - ") + database, "startCopy")
    , m_database(database)
    , m_saved(std::move(saved))
    , m_targets(m_saved.all())
    , m_objects(new ObjectChoice(QStringLiteral("copy"), objects, chosen))
    , m_connection(made<QComboBox>("copyConnection"))
    , m_targetDatabase(made<QLineEdit>("copyDatabase", database))
    , m_rows(tick("copyRows", QStringLiteral("行"), true))
    , m_routines(tick("copyRoutines", QStringLiteral("ルーチン"), chosen.isEmpty()))
    , m_triggers(tick("copyTriggers", QStringLiteral("トリガー"), true))
    , m_events(tick("copyEvents", QStringLiteral("イベント"), chosen.isEmpty()))
    , m_definers(tick("copyDefiners", QStringLiteral("DEFINER もコピー"), true,
                      QStringLiteral("外すと、コピー先のアカウントが DEFINER になります")))
    , m_replaces(tick("copyReplaces", QStringLiteral("コピー先にない照合順序を置き換える"), false,
                      QStringLiteral("近いもの（utf8mb4_unicode_ci か utf8mb4_bin）になります")))
{
    fillConnections();
    auto *upper = new QHBoxLayout;
    upper->addWidget(m_objects, 1);
    upper->addWidget(parts());
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("コピー先の接続："), m_connection);
    fields->addRow(QStringLiteral("コピー先のデータベース："), m_targetDatabase);
    form()->addLayout(upper, 1);
    form()->addLayout(fields);
    resize(760, 560);
}

CopyWindow::~CopyWindow() = default;

void CopyWindow::fillConnections()
{
    for (const ConnectionProfile &connection : m_targets)
        m_connection->addItem(textOf(connection));
    m_connection->setCurrentIndex(-1);
    m_connection->setPlaceholderText(m_targets.empty()
                                         ? QStringLiteral("保存した接続がありません（「接続先」で作れます）")
                                         : QStringLiteral("選んでください"));
    m_targetDatabase->setPlaceholderText(QStringLiteral("なければ作ります"));
}

QWidget *CopyWindow::parts()
{
    auto *group = new QGroupBox(QStringLiteral("コピーするもの"));
    auto *rows = new QVBoxLayout(group);
    for (QCheckBox *box : {m_rows, m_routines, m_triggers, m_events, m_definers, m_replaces})
        rows->addWidget(box);
    rows->addStretch();
    return group;
}

QString CopyWindow::whatIsMissing() const
{
    if (!m_objects->isUsable())
        return QStringLiteral("テーブルかビューをひとつ以上選んでください。");
    if (m_connection->currentIndex() < 0)
        return QStringLiteral("コピー先の接続を選んでください。");
    if (m_targetDatabase->text().isEmpty())
        return QStringLiteral("コピー先のデータベースを指定してください。");
    return {};
}

CopyOptions CopyWindow::options() const
{
    CopyOptions options;
    options.what.database = m_database;
    options.what.objects = m_objects->chosen();
    options.what.hasRows = m_rows->isChecked();
    options.what.hasRoutines = m_routines->isChecked();
    options.what.hasTriggers = m_triggers->isChecked();
    options.what.hasEvents = m_events->isChecked();
    options.what.hasDefiners = m_definers->isChecked();
    options.database = m_targetDatabase->text();
    options.replacesCollations = m_replaces->isChecked();
    return options;
}

void CopyWindow::start()
{
    if (const QString missing = whatIsMissing(); !missing.isEmpty())
        return tell(missing, true);
    const ConnectionProfile &connection = m_targets[static_cast<std::size_t>(m_connection->currentIndex())];
    m_from = siblingOf(m_session, {});
    m_to = siblingOf(m_session, {});
    useProfile(*m_to, connection, {});
    if (connection.isReadOnly && !confirmsWriting(*m_to, dialogue()))
        return;
    const std::optional<QString> password = m_saved.password(connection, this);
    if (!password)
        return;
    m_to->gPass = *password;
    m_what = options();
    m_looking = std::make_shared<std::optional<TargetLook>>();
    begin(*m_from, *m_to,
          [what = m_what, look = m_looking](Session &from, Session &to, const ReportProgress &report) {
              TransferStatus status;
              status.object = QStringLiteral("コピー先を調べています");
              report(status);
              *look = lookAtTarget(from, to, what);
              return QStringLiteral("コピー先を調べました。");
          });
}

void CopyWindow::ended(bool)
{
    if (!m_looking)
        return;
    const std::optional<TargetLook> look = *std::exchange(m_looking, nullptr);
    if (!look)
        return;
    m_to->role = look->role;
    if (confirms(*look) && confirmsWriting(*m_to, dialogue()))
        copy(*look);
    else
        tell(QStringLiteral("コピーしませんでした。"), true);
}

// What is there and would be lost.
bool CopyWindow::confirms(const TargetLook &look)
{
    if (!look.unknownCollations.isEmpty() && !m_what.replacesCollations) {
        dialogue().refuse(QStringLiteral("コピー先のサーバーにない照合順序があります: %1\n"
                                         "「%2」を選んでから、もう一度開始してください。")
                              .arg(look.unknownCollations.join(QStringLiteral(", ")), m_replaces->text()));
        return false;
    }
    QStringList changes = look.changes;
    for (const QString &view : look.brokenViews)
        changes << QStringLiteral(
                       "ビュー「%1」は、コピー元で壊れています。コピーはそこで終わることがあります")
                       .arg(view);
    if (!changes.isEmpty() &&
        !dialogue().warn(QStringLiteral("次のものは、コピー先「%1」(%2) では元のままになりません:\n%3\n\n"
                                        "続けますか？")
                             .arg(m_to->profile.name, serverName(*m_to), changes.join(u'\n'))))
        return false;
    if (look.existing.isEmpty())
        return true;
    constexpr qsizetype mostNamed = 20;
    QStringList names = look.existing.mid(0, mostNamed);
    if (names.size() < look.existing.size())
        names << QStringLiteral("…");
    return dialogue().warn(
        QStringLiteral("コピー先「%1」(%2) のデータベース「%3」に、同じ名前のものか、それに付いたトリガーが "
                       "%4 個あります。"
                       "続けると、今あるものは行ごと削除され、コピーに置き換わります:\n%5\n\n続けますか？")
            .arg(m_to->profile.name, serverName(*m_to), m_what.database)
            .arg(look.existing.size())
            .arg(names.join(QStringLiteral(", "))));
}

void CopyWindow::copy(const TargetLook &look)
{
    begin(*m_from, *m_to, [what = m_what, look](Session &from, Session &to, const ReportProgress &report) {
        return copyObjects(from, to, what, look, report);
    });
}

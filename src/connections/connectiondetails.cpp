#include "connections/connectiondetails.h"

#include "connections/connectionadvice.h"
#include "connections/connectiontest.h"
#include "connections/keystore.h"
#include "connections/passwordquestion.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/building.h"
#include "controls/window/narrow.h"
#include "core/session/session.h"
#include "core/sql/listitem.h"

#include <QScrollArea>
#include <QVBoxLayout>

ConnectionDetails::ConnectionDetails(Session &session)
    : m_session(session)
    , m_fields(new ConnectionFields(this))
    , m_inUse(made<QLabel>("connectionInUse"))
    , m_result(made<QLabel>("connectionResult"))
{
    m_inUse->setWordWrap(true);
    m_inUse->setText(QStringLiteral(
        "この接続先に接続しています。名前、色、環境、読み取り専用、信号、メモはすぐに、そのほかは次の"
        "「接続」から変わります。「本番」と読み取り専用は、次の「接続」まで外れません。"));
    m_result->setTextFormat(Qt::PlainText);
    m_result->setWordWrap(true);
    m_result->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_result->setAccessibleName(QStringLiteral("接続テストの結果"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(scrolling(m_fields), 1);
    layout->addWidget(m_inUse);
    layout->addWidget(m_result);
}

void ConnectionDetails::describe(const ConnectionProfile &profile)
{
    m_keptPassword.clear();
    m_fields->show(profile);
    m_fields->setEnabled(profile.isSaved());
    m_inUse->setVisible(isInUse(profile));
    m_result->clear();
}

bool ConnectionDetails::isInUse(const ConnectionProfile &profile) const
{
    return profile.isSaved() && m_session.gCn && m_session.profile.id == profile.id;
}

QString ConnectionDetails::keepPassword(const ConnectionProfile &before, const ConnectionProfile &now)
{
    const QString typed = m_fields->password();
    const bool isForStore = now.keeping == PasswordKeeping::Desktop;
    if (isForStore ? typed.isEmpty() || typed == m_keptPassword : before.keeping != PasswordKeeping::Desktop)
        return {};
    QString words;
    m_session.runner.run(this, QStringLiteral("キーストア"), [&] {
        KeyStore store;
        const QString why = isForStore ? store.write(now.id, typed) : store.remove(now.id);
        if (isForStore && !why.isEmpty())
            words = QStringLiteral("パスワードをキーストアに保存できません。接続のたびに尋ねます。\n") + why;
        m_keptPassword = isForStore ? typed : QString();
    });
    return words;
}

// The typed one, else the kept one, else the user is asked; none: given up.
std::optional<QString> ConnectionDetails::password(const ConnectionProfile &profile)
{
    const QString typed = m_fields->password();
    if (!typed.isEmpty() || profile.kind == ConnectionKind::DataSource)
        return typed;
    QString why;
    const std::optional<QString> kept = keptPassword(profile, m_session.runner, *this, why);
    return kept ? kept : askForPassword(window(), passwordQuestion(profile, profile.user, why));
}

void ConnectionDetails::test(const ConnectionProfile &shown)
{
    const ConnectionProfile profile = m_fields->profile(shown);
    const std::optional<QString> typedOrKept = password(profile);
    if (!typedOrKept)
        return;
    m_session.runner.run(this, QStringLiteral("接続テスト"), [&] {
        m_result->setText(QStringLiteral("接続しています･･･"));
        WidgetDialogue dialogue(window(), {});
        const BusyPointer busy(dialogue);
        try {
            m_result->setText(tryConnection(m_session, profile, *typedOrKept));
        } catch (const Failure &error) {
            m_result->setText(visibleText(withAdvice(error, profile.tls)));
        }
    });
}

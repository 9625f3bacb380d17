#include "connections/sshquestion.h"

#include "connections/passwordquestion.h"
#include "controls/dialogue/messagebox.h"
#include "core/sql/listitem.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

// "ask" of the host's key wants the word itself; a confirmation (of a key agent) only the exit code.
bool wantsYes(const QString &question)
{
    return question.contains(u"(yes/no");
}

std::optional<QString> answerTo(const QString &question)
{
    const QByteArray hint = qgetenv("SSH_ASKPASS_PROMPT");
    if (hint == "none") {
        showBox(nullptr, QMessageBox::Information, question, QMessageBox::Ok);
        return QString();
    }
    if (hint != "confirm" && !wantsYes(question))
        return askForPassword(nullptr, question);
    const QStringList choices{QStringLiteral("続ける")};
    if (!wantsYes(question))
        return showChoices(nullptr, visibleText(question), choices) == 0 ? std::optional(QString())
                                                                         : std::nullopt;
    const QString explained =
        QStringLiteral("SSH のホストの鍵をまだ知りません。指紋が本物か、ホストの管理者に確かめてください。"
                       "\nこのホストを信じて接続しますか？\n\n") +
        visibleText(question);
    return showChoices(nullptr, explained, choices) == 0 ? QStringLiteral("yes") : QStringLiteral("no");
}

} // namespace

int answerSsh()
{
    const std::optional<QString> answer = answerTo(QCoreApplication::arguments().value(1));
    if (!answer)
        return 1;
    std::puts(answer->toUtf8().constData());
    return 0;
}

#include "structure/alter/alterrun.h"

#include "core/command/definition.h"
#include "core/command/doubt.h"
#include "core/command/sessionvariables.h"
#include "core/command/showntext.h"
#include "core/command/writing.h"
#include "core/sql/splitter.h"
#include "core/sql/statements.h"
#include "structure/alter/quietlosses.h"

#include <QLocale>

#include <algorithm>
#include <array>

namespace {

// Beyond this, copying is worth a question.
constexpr qint64 fewRows = 1000;

bool isRefusalOfWay(const Failure &error)
{
    // Not supported (with a reason or without), an algorithm or a grammar that the server does not know,
    // wrong use of LOCK, too many instant changes already.
    static constexpr std::array numbers{1845, 1846, 1800, 1064, 1221, 1235, 4080, 4092};
    return std::ranges::find(numbers, error.number()) != numbers.end();
}

QString doneWords(AlterWay way)
{
    switch (way) {
    case AlterWay::Instant:
        return QStringLiteral("即時に変更しました (INSTANT)。");
    case AlterWay::InPlace:
        return QStringLiteral("書き込みを止めずに変更しました (INPLACE)。");
    case AlterWay::AsServerLikes:
        break;
    }
    return QStringLiteral("書き込みを待たせて変更しました (コピーなど)。");
}

QString sizeWords(const TableSize &size)
{
    if (size.rows < 0)
        return rowWords(size);
    return rowWords(size) + QStringLiteral("、") + QLocale().formattedDataSize(size.bytes);
}

class Run {
public:
    Run(Session &session, Dialogue &dialogue, const AlterRequest &request)
        : m_session(session)
        , m_dialogue(dialogue)
        , m_request(request)
    {
    }

    AlterReport run(const QString &text)
    {
        const std::string script = withLf(text).toStdString();
        for (const ScriptPiece &piece : scriptPieces(script, m_request.table.mode))
            m_statements << QString::fromUtf8(piece.text.data(), static_cast<qsizetype>(piece.text.size()));
        if (m_statements.isEmpty() || !mayBegin())
            return {};
        const BusyPointer busy(m_dialogue);
        Doubt doubt = Doubt::None;
        try {
            if (!isAsItWas())
                return {false, false, true,
                        QStringLiteral("ﾃｰﾌﾞﾙの定義は、この文を作った後に変更されています。実行していません。"
                                       "閉じて、一覧から選び直して下さい。")};
            m_place = serverPlace(m_session.connection());
            // Values that do not fit fail instead of being cut.
            const QString mode =
                modeForRows(changedMode(m_request.sqlMode, {}, {QStringLiteral("STRICT_ALL_TABLES")}));
            withVariables(m_session, m_request.table.database,
                          {{QStringLiteral("sql_mode"), quotedText(mode)}}, [this] { runAll(); });
        } catch (const Failure &error) {
            doubt = doubtAfter(m_session, error);
            m_words << (doubt == Doubt::Interrupted ? QStringLiteral("中断しました。")
                                                    : QStringLiteral("失敗: ") + error.description());
        }
        AlterReport report;
        report.isBegun = true;
        if (m_isGivenUp && m_done == 0) {
            report.isBegun = false;
            return report;
        }
        readBack(doubt, report);
        report.words = m_words.join(u'\n');
        return report;
    }

private:
    bool mayBegin()
    {
        if (!mayWrite(m_session, m_dialogue))
            return false;
        QStringList dropped, rounded;
        for (const QString &statement : m_statements) {
            dropped += droppedBy(statement, m_request.table.mode);
            rounded += quietLosses(statement, m_request.from, m_request.table.mode);
        }
        QString question = QStringLiteral("サーバー %1 のﾃｰﾌﾞﾙ %2.%3 を変更します。")
                               .arg(serverName(m_session), m_request.table.database, m_request.table.name);
        if (dropped.isEmpty() && rounded.isEmpty())
            return m_dialogue.confirm(question, Icon::Information);
        const auto list = [](const QString &title, const QStringList &lines) {
            return lines.isEmpty() ? QString()
                                   : QStringLiteral("\r\n") + title + QStringLiteral("\r\n") +
                                         lines.join(QStringLiteral("\r\n"));
        };
        question += list(QStringLiteral("次の列などは、値とともに失われます (%1)。元には戻せません。")
                             .arg(rowWords(m_request.size)),
                         dropped);
        question += list(QStringLiteral("次の列の値は、丸めや切り捨て、補いで変わることがあります。"
                                        "サーバーは断りません。元には戻せません。"),
                         rounded);
        return m_dialogue.warn(question + QStringLiteral("\r\n続けますか？"));
    }

    // What others have changed meanwhile, the statements would change back.
    bool isAsItWas()
    {
        const QString show =
            QStringLiteral("SHOW CREATE TABLE ") + quotedName(m_request.table.database, m_request.table.name);
        return isAsShown(readDefinition(m_session.connection(), show).text, withCrLf(m_request.serverText));
    }

    void runAll()
    {
        for (const QString &statement : m_statements) {
            if (!runOne(statement))
                return;
            ++m_done;
        }
    }

    // False: the user does not want the way that is left.
    bool runOne(const QString &statement)
    {
        QString why;
        for (const AlterWay way : alterWays(m_session.connection().server())) {
            const bool isLast = way == AlterWay::AsServerLikes;
            const QString sent = withWay(statement, way, m_request.table.mode);
            if (!isLast && sent == statement)
                continue;
            if (isLast && !why.isEmpty() && !mayBlock(why))
                return false;
            try {
                m_session.connection().execute(sent);
                m_words << (isLast && why.isEmpty() ? QStringLiteral("実行しました。") : doneWords(way));
                return true;
            } catch (const Failure &error) {
                if (isLast || !isRefusalOfWay(error))
                    throw;
                // Of words that it does not know the statement itself will tell.
                if (error.number() != 1064 && error.number() != 1800)
                    why = error.description();
            }
        }
        return true;
    }

    bool mayBlock(const QString &why)
    {
        const TableSize &size = m_request.size;
        if (size.rows >= 0 && size.rows <= fewRows)
            return true;
        m_isGivenUp = !m_dialogue.warn(
            QStringLiteral(
                "サーバーは、この変更を書き込みを止めずには行えません。\r\n%1\r\n\r\n"
                "ﾃｰﾌﾞﾙ %2.%3 (%4) の変更が終わるまで、他の接続の書き込みは待たされます。\r\n続けますか？")
                .arg(why, m_request.table.database, m_request.table.name, sizeWords(size)));
        if (m_isGivenUp && m_done > 0)
            m_words << QStringLiteral("残りの文は実行していません。");
        return !m_isGivenUp;
    }

    QString readNow()
    {
        for (const QString &name : {m_request.to.name, m_request.table.name}) {
            const QString show =
                QStringLiteral("SHOW CREATE TABLE ") + quotedName(m_request.table.database, name);
            try {
                return readDefinition(m_session.connection(), show).text;
            } catch (const Failure &error) {
                constexpr int noSuchTable = 1146;
                if (error.number() != noSuchTable || name == m_request.table.name)
                    throw;
            }
        }
        return {};
    }

    void readBack(Doubt doubt, AlterReport &report)
    {
        const Undoing afterAStop(m_session);
        try {
            if (doubt == Doubt::AnswerLost)
                reconnect(m_session, m_place);
            const QString now = readNow();
            report.isUnchanged = isAsShown(now, withCrLf(m_request.serverText));
            if (report.isUnchanged) {
                m_words << QStringLiteral("ﾃｰﾌﾞﾙの定義は、実行前と同じです。");
                if (doubt == Doubt::AnswerLost)
                    m_words << QStringLiteral("接続が切れても、サーバーは変更を続けていることがあります。");
                return;
            }
            const QStringList different =
                differences(tableDefinition(now, m_request.table.mode), m_request.to, m_request.table.mode);
            report.isAsWanted = different.isEmpty();
            m_words << (different.isEmpty()
                            ? QStringLiteral("サーバーの定義は、編集した定義と同じになりました。")
                            : QStringLiteral(
                                  "サーバーの定義は変わりました。編集した定義とは次の所が違います。\n") +
                                  different.join(u'\n'));
        } catch (const Failure &error) {
            m_words << QStringLiteral("今の定義を読めません: ") + error.description();
        }
    }

    Session &m_session;
    Dialogue &m_dialogue;
    const AlterRequest &m_request;
    ServerPlace m_place;
    QStringList m_statements, m_words;
    int m_done = 0; // statements
    bool m_isGivenUp = false;
};

} // namespace

AlterReport runAlter(Session &session, Dialogue &dialogue, const AlterRequest &request, const QString &text)
{
    return Run(session, dialogue, request).run(text);
}

std::vector<AlterWay> alterWays(const ServerInfo &server)
{
    std::vector<AlterWay> ways;
    if (server.number >= (server.isMariaDb ? 100307 : 80012))
        ways.push_back(AlterWay::Instant);
    if (server.number >= (server.isMariaDb ? 100000 : 50600))
        ways.push_back(AlterWay::InPlace);
    ways.push_back(AlterWay::AsServerLikes);
    return ways;
}

QString withWay(const QString &statement, AlterWay way, SqlMode mode)
{
    const SqlTokens words(statement, mode);
    std::size_t name = 2;
    if (words.is(1, u"ONLINE") || words.is(1, u"IGNORE"))
        return statement;
    name += words.is(name, u"IF") ? 2 : 0;
    name += words.is(name + 1, u".") ? 2 : 0;
    const bool isAlter = words.is(0, u"ALTER") && words.is(1, u"TABLE") && name + 1 < words.size();
    for (std::size_t at = name; at < words.size(); ++at) {
        if (words.is(at, u"ALGORITHM") || words.is(at, u"LOCK"))
            return statement;
        // MariaDB 10.11 takes INSTANT for these and copies the table all the same; INPLACE it refuses.
        const bool isPartitioning = words.is(at, u"PARTITION") || words.is(at, u"PARTITIONING");
        if (isPartitioning && way == AlterWay::Instant)
            return statement;
    }
    if (!isAlter || way == AlterWay::AsServerLikes)
        return statement;
    // Before these alone stands no comma.
    const bool isBare = words.is(name + 1, u"PARTITION") || words.is(name + 1, u"REMOVE");
    return words.text(0, name + 1) +
           (way == AlterWay::Instant ? QStringLiteral(" ALGORITHM=INSTANT")
                                     : QStringLiteral(" ALGORITHM=INPLACE, LOCK=NONE")) +
           (isBare ? QStringLiteral(" ") : QStringLiteral(", ")) + words.text(name + 1, words.size());
}

QString rowWords(const TableSize &size)
{
    return size.rows < 0 ? QStringLiteral("行数不明")
                         : QStringLiteral("約 %1 行").arg(QLocale().toString(size.rows));
}

QString costWords(const ServerInfo &server, const TableSize &size)
{
    const std::vector<AlterWay> ways = alterWays(server);
    QString words = sizeWords(size) + QStringLiteral("。");
    if (ways.front() == AlterWay::Instant)
        words += QStringLiteral("まず即時 (INSTANT)、次に書き込みを止めない変更 (INPLACE) を試します。");
    else if (ways.front() == AlterWay::InPlace)
        words += QStringLiteral(
            "このサーバーに INSTANT はありません。書き込みを止めない変更 (INPLACE) を試します。");
    else
        words += QStringLiteral("このサーバーは、いつも全行をコピーします。");
    if (ways.size() > 1)
        words += QStringLiteral("サーバーが断れば、書き込みを待たせる変更 (コピーなど) の前に尋ねます。");
    return words;
}

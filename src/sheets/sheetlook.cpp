// What a sheet asks about before a run: how many rows and which definitions may go.
#include "sheets/safemode.h"
#include "sheets/sheetworker.h"

#include <algorithm>

// Empty: not known, as of a name that is not there.
QString SheetWorker::countedRows(const QString &table)
{
    constexpr int most = 1'000'000;
    try {
        // Counted so far only: a large table would keep the question waiting.
        const QString count =
            m_session->connection()
                .execute(QStringLiteral("select count(*) from (select 1 from %1 limit %2) counted")
                             .arg(table)
                             .arg(most + 1))
                .text(0);
        return count.toInt() > most ? QStringLiteral("：%1 行を超える").arg(most)
                                    : QStringLiteral("：%1 行").arg(count);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || m_session->runner.isStopWanted())
            throw;
        return {};
    }
}

void SheetWorker::look(const SheetRun &run)
{
    runAlone([&] {
        const Risks risks = risksOf(run.text, run.isScript, m_mode);
        SheetNews news;
        news.kind = SheetNews::Kind::Looked;
        news.mayChange = risks.mayChange;
        constexpr std::size_t most = 10; // lines of a question
        const std::size_t count = run.isSafe ? risks.dangers.size() : 0;
        for (std::size_t i = 0; i < std::min(count, most); ++i) {
            const Danger &danger = risks.dangers[i];
            news.texts << QStringLiteral("・") + danger.what +
                              (danger.table.isEmpty() ? QString() : countedRows(danger.table));
        }
        if (count > most)
            news.texts << QStringLiteral("・ほか %1 文").arg(count - most);
        Q_EMIT came(news);
    });
}

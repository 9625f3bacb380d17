#include "transfer/copy/copysteps.h"

#include "core/sql/statements.h"

Step fillingStep(const QString &database, const QStringList &sides)
{
    QStringList tables;
    for (const QString &side : sides)
        tables << quotedName(database, side);
    Step step;
    step.statement = useStatement(database);
    step.untilUndone = QStringLiteral("コピー先のテーブルは、前のままです。作業用のテーブルが残っています。");
    step.back = {{QStringLiteral("DROP TABLE IF EXISTS ") + tables.join(QStringLiteral(", "))}};
    return step;
}

Step exchangeStep(const QString &statement, const QString &database, const QStringList &sides,
                  const QStringList &replaced, const QStringList &left)
{
    QStringList names;
    for (const QString &name : sides + replaced)
        names << quotedText(name);
    Step step;
    step.statement = statement;
    // Until then all of them are there.
    step.isDone.statement = QStringLiteral("SELECT 1 FROM DUAL WHERE (SELECT COUNT(*) FROM "
                                           "information_schema.TABLES WHERE TABLE_SCHEMA=%1 AND "
                                           "TABLE_NAME IN (%2))<%3")
                                .arg(quotedText(database), names.join(u','))
                                .arg(names.size());
    step.completes = true;
    step.onceDone = QStringLiteral("コピー先のテーブルは、新しい行に入れ替わり始めています。前のテーブル、"
                                   "外部キー、ビュー、ルーチン、トリガー、イベントは、まだ古いか、ないことが"
                                   "あります。同じコピーをもう一度行って下さい。");
    if (!left.isEmpty())
        step.onceDone += QStringLiteral("\r\n行えないときは、次の文のうち、まだのもので終えられます。\r\n") +
                         left.join(QStringLiteral(";\r\n")) + u';';
    step.untilUndone = step.onceDone;
    step.inDoubt = QStringLiteral("コピー先のテーブルは、前のままか、新しい行に入れ替わり始めています。"
                                  "「元に戻す」は、前のままのときにだけ、作業用のテーブルを消します。");
    return step;
}

#include "browser/nextstep.h"

#include "browser/frmTarnwellControls.h"

namespace {

QString databaseHint(Step step)
{
    switch (step) {
    case Step::Connect:
        return QStringLiteral("接続設定を入力して「接続」(Alt+C) を押してください");
    case Step::Connecting:
        return QStringLiteral("接続中…");
    case Step::ListDatabases:
        return QStringLiteral("「ﾃﾞｰﾀﾍﾞｰｽ表示」(Alt+L) を押すと一覧を表示します");
    default:
        return QStringLiteral("表示できるデータベースがありません。「ﾃﾞｰﾀﾍﾞｰｽ作成」(Alt+N) で作れます");
    }
}

// For the lists of what is in a database.
QString contentHint(Step step, const QString &what)
{
    switch (step) {
    case Step::Reading:
        return QStringLiteral("読み込み中…");
    case Step::DatabaseChosen:
        return QStringLiteral("このデータベースに%1はありません。「ｸｴﾘ実行」(F9) で作れます").arg(what);
    default:
        return QStringLiteral("データベースを選ぶと、ここに%1が並びます").arg(what);
    }
}

} // namespace

void showNextStep(TarnwellControls &controls, Step step)
{
    controls.lstDb->setPlaceholderText(databaseHint(step));
    controls.lstTables->setPlaceholderText(contentHint(step, QStringLiteral("テーブルとビュー")));
    controls.lstProcFunc->setPlaceholderText(contentHint(step, QStringLiteral("ルーチン")));
}

#include "maintenance/commands.h"

#include "maintenance/backup/backup.h"
#include "maintenance/backup/restore.h"
#include "maintenance/backup/scriptbackup.h"
#include "maintenance/createdrop.h"
#include "maintenance/routines.h"
#include "maintenance/tablebatches.h"
#include "maintenance/tablechange/tablechange.h"

std::span<const Command> maintenanceCommands()
{
    constexpr Needs local = Needs::Databases | Needs::LocalServer;
    static constexpr Command commands[] = {
        {{"cmdDropDb", u"ﾃﾞｰﾀﾍﾞｰｽ削除", "Alt+Shift+N", Menu::Database, Needs::Databases}, dropDatabase},
        {{"cmdScriptBackUp", u"全scriptﾊﾞｯｸｱｯﾌﾟ", "", Menu::Database, Needs::Databases},
         backUpScripts,
         false},
        {{"cmdCreateTable", u"ﾃｰﾌﾞﾙ変更", "", Menu::Table, Needs::Table}, changeTable},
        {{"cmdDropTable", u"ﾃｰﾌﾞﾙ削除", "", Menu::Table, Needs::Table}, dropTable},
        {{"cmdCheckTable", u"ﾃｰﾌﾞﾙ検査", "", Menu::Table, Needs::Databases}, checkTables, false},
        {{"cmdRepairTable", u"ﾃｰﾌﾞﾙ修復", "", Menu::Table, Needs::Databases}, repairTables},
        {{"cmdOptimizeTable", u"ﾃｰﾌﾞﾙ最適化", "", Menu::Table, Needs::Databases}, optimizeTables},
        {{"cmdBackup", u"ﾊﾞｯｸｱｯﾌﾟ", "", Menu::Table, local}, backUpTables, false},
        {{"cmdRestore", u"復元", "", Menu::Table, local}, restoreTables},
        {{"cmdCopyDb", u"ﾃﾞｰﾀ ｺﾋﾟｰ", "", Menu::Table, Needs::Databases}, copyTables},
        {{"cmdCreateProc", u"ルーチン変更", "", Menu::Table, Needs::Routine}, changeRoutine},
        {{"cmdDropProc", u"ルーチン削除", "", Menu::Table, Needs::Routine}, dropRoutine},
    };
    return commands;
}

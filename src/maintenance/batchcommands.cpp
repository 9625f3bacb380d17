#include "maintenance/batchcommands.h"

#include "maintenance/backup.h"
#include "maintenance/restore.h"
#include "maintenance/scriptbackup.h"
#include "maintenance/tablebatches.h"

std::span<const Command> batchCommands()
{
    static constexpr Command commands[] = {
        {"cmdCheckTable", checkTables},     {"cmdOptimizeTable", optimizeTables},
        {"cmdRepairTable", repairTables},   {"cmdBackup", backUpTables},
        {"cmdRestore", restoreTables},      {"cmdCopyDb", copyTables},
        {"cmdScriptBackUp", backUpScripts},
    };
    return commands;
}

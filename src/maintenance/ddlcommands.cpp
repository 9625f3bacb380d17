#include "maintenance/ddlcommands.h"

#include "maintenance/createdrop.h"
#include "maintenance/routines.h"
#include "maintenance/tablechange.h"

std::span<const Command> ddlCommands()
{
    static constexpr Command commands[] = {
        {"cmdCreateTable", changeTable},  {"cmdDropDb", dropDatabase},  {"cmdDropTable", dropTable},
        {"cmdCreateProc", changeRoutine}, {"cmdDropProc", dropRoutine},
    };
    return commands;
}

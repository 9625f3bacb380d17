#include "server/serverpages.h"

#include "server/load/loadpage.h"
#include "server/load/statuspage.h"
#include "server/locks/lockpage.h"
#include "server/processes/processpage.h"
#include "server/variables/variablepage.h"

std::vector<ServerPage *> makeServerPages(const ServerSurroundings &around)
{
    return {
        new ProcessPage(around),
        new LockPage(around),
        new LoadPage(around),
        new StatusPage(around),
        new VariablePage(around),
    };
}

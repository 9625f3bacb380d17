#include "server/serverpages.h"

#include "server/processes/processpage.h"
#include "server/variables/variablepage.h"

std::vector<ServerPage *> makeServerPages(const ServerSurroundings &around)
{
    return {
        new ProcessPage(around),
        new VariablePage(around),
    };
}

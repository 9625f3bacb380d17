#include "server/serverpages.h"

#include "server/processes/processpage.h"

std::vector<ServerPage *> makeServerPages(const ServerSurroundings &around)
{
    return {
        new ProcessPage(around),
    };
}

#include "server/serverpages.h"

#include "server/accounts/privilegepage.h"
#include "server/load/loadpage.h"
#include "server/load/statuspage.h"
#include "server/locks/lockpage.h"
#include "server/overview/replication.h"
#include "server/overview/sizes.h"
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
        new PrivilegePage(around),
        new OverviewPage(around, "replicationPage", QStringLiteral("レプリケーションとログ"),
                         replicationOverviews(), OverviewPage::Reading::ByClock),
        new OverviewPage(around, "sizePage", QStringLiteral("表と索引"), sizeOverviews(),
                         OverviewPage::Reading::OnDemand),
        new OverviewPage(around, "modulePage", QStringLiteral("プラグインとエンジン"), moduleOverviews(),
                         OverviewPage::Reading::OnDemand),
    };
}

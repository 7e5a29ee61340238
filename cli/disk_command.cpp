// brindle disk
#include "cli/command.h"
#include "cli/disk_page.h"

namespace brindle {

Outcome runDisk(const CommandContext& context) {
    const ShownScan scan = scanShowingProgress(context, {});
    const StorageTrend trend = context.session.trend();
    const TimePoint now = std::chrono::system_clock::now();
    const DiskView view{.report = scan.report,
                        .samples = trend.samples(now),
                        .totals = trend.totals(now),
                        .threshold = context.session.preferences().lowDiskThreshold()};
    const ExitCode code = unlessInterrupted(context);
    return {code, context.options.isJson ? diskJson(view, code == ExitCode::interrupted)
                                         : diskText(view, context.look)};
}

}  // namespace brindle

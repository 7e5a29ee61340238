// The property list of a bundle or of a job that the system starts.
#include "core/modules/bundle_information.h"
#include "tests/fuzz/target.h"

void check(std::string_view text) {
    (void)brindle::bundleKindOf(text);
    for (const auto& bundle : brindle::bundlesAround(text))
        require(!bundle.empty() && text.starts_with(bundle));
    const auto list = brindle::PropertyList::parse(text);
    if (!list) return;
    const auto identifier = brindle::bundleIdentifierIn(*list);
    require(!identifier || !identifier->empty());
    const auto job = brindle::launchJobIn(*list);
    if (job.program) (void)brindle::bundlesAround(*job.program);
}

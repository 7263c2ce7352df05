#include "node/timeline/recording.h"

#include "node/core/events.h"
#include "node/core/multicast_core.h"
#include "node/timeline/page.h"

namespace timeline {

Recording::Recording(const events::Wanted& wanted, const events::Run& run) : wanted_(wanted) {
    if (!wanted.file && !wanted.page) return;
    journal_ = std::make_unique<events::Journal>(wanted, run);
    if (wanted.page) events::check_writable(*wanted.page);
    journal_->begin(mcore::clock_us());
    mcore::watch_events([this](const mcore::Event& event) { journal_->take(event); });
}

Recording::~Recording() {
    if (journal_) mcore::watch_events({});
}

std::optional<std::string> Recording::write_page() {
    if (!wanted_.page) return "no timeline is written without --timeline";
    return timeline::write_page(*wanted_.page, journal_->kept(), mcore::clock_us());
}

std::vector<std::string> Recording::end() {
    std::vector<std::string> wrong;
    if (!journal_) return wrong;
    mcore::watch_events({});
    journal_->end(mcore::clock_us());
    if (auto failure = journal_->failure()) wrong.push_back(std::move(*failure));
    if (wanted_.page) {
        if (auto failure = write_page()) wrong.push_back(std::move(*failure));
    }
    journal_.reset();
    return wrong;
}

}  // namespace timeline

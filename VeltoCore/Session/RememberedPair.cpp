#include "VeltoCore/Session/RememberedPair.h"

#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

} // namespace

void RememberedPair::remember(Content content) {
    fallback_.emplace(deviceManager_, SessionUIDs::of(content.session));
    content_ = std::move(content);
}

std::optional<RememberedPair::Content> RememberedPair::takeWhenBack() {
    if (!content_) return std::nullopt;
    const auto& output = deviceManager_.defaultOutputDevice();
    if (output && fallback_->isChoice(output->uid)) {
        logger.notice("Another output was chosen; the lost outputs are not waited for any more");
        forget();
        return std::nullopt;
    }
    const auto isBack = [this](const AudioOutputDevice& device) {
        return deviceManager_.device(device.uid).has_value();
    };
    if (!std::ranges::all_of(content_->session.devices(), isBack)) return std::nullopt;
    return std::exchange(content_, std::nullopt);
}

} // namespace velto

#include "VeltoCore/Session/VeltoStatus.h"

namespace velto {

namespace {

using S = VeltoStatus;

struct Title {
    std::string operator()(S::Idle) const { return "Not playing"; }
    std::string operator()(S::Connecting) const { return "Connecting…"; }
    std::string operator()(S::Preparing s) const { return std::string(message(s.step)); }
    std::string operator()(S::Playing) const { return "Playing Together"; }
    std::string operator()(S::Reconnecting) const { return "Reconnecting…"; }
    std::string operator()(const S::Degraded& s) const {
        return s.missingDeviceName + (s.isBack ? " reconnected" : " disconnected");
    }
    std::string operator()(const S::Error& s) const { return s.error.errorDescription(); }
};

struct SymbolName {
    std::string_view operator()(S::Idle) const { return "circle"; }
    std::string_view operator()(S::Connecting) const { return "circle.dotted"; }
    std::string_view operator()(S::Preparing) const { return "circle.dotted"; }
    std::string_view operator()(S::Playing) const { return "checkmark.circle.fill"; }
    std::string_view operator()(S::Reconnecting) const { return "circle.dotted"; }
    std::string_view operator()(const S::Degraded& s) const {
        return s.isBack ? "arrow.triangle.2.circlepath" : "exclamationmark.triangle.fill";
    }
    std::string_view operator()(const S::Error&) const { return "xmark.circle.fill"; }
};

} // namespace

std::string VeltoStatus::title() const { return std::visit(Title{}, kind_); }

std::string_view VeltoStatus::symbolName() const noexcept { return std::visit(SymbolName{}, kind_); }

bool VeltoStatus::isPlaying() const noexcept { return is<Playing>() || is<Reconnecting>() || is<Degraded>(); }

bool VeltoStatus::isBusy() const noexcept {
    return is<Connecting>() || is<Preparing>() || is<Reconnecting>();
}

} // namespace velto

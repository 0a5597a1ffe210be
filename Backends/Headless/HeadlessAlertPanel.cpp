#include "Platform/AlertPanel.h"

namespace orvane {

namespace {

class HeadlessAlertPanel final : public AlertPanel {
  public:
    std::int32_t run(const AlertPanelTexts& /*texts*/) override { return kAlertPanelAlternate; }
};

} // namespace

AlertPanel& AlertPanel::platform() {
    static constinit HeadlessAlertPanel panel;
    return panel;
}

} // namespace orvane

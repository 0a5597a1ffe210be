#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/AlertPanel.h"

namespace orvane {

namespace {

using namespace cocoa;

class CocoaAlertPanel final : public AlertPanel {
  public:
    std::int32_t run(const AlertPanelTexts& texts) override {
        return guarded(std::int32_t{kAlertPanelAlternate}, [&] {
            [NSApplication sharedApplication];
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
            return static_cast<std::int32_t>(
                NSRunAlertPanel(stringOf(texts.title), @"%@", stringOf(texts.defaultButton),
                                stringOf(texts.alternateButton), stringOf(texts.otherButton), stringOf(texts.message)));
#pragma clang diagnostic pop
        });
    }
};

} // namespace

AlertPanel& AlertPanel::platform() {
    static constinit CocoaAlertPanel panel;
    return panel;
}

} // namespace orvane

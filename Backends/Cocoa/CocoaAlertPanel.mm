#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/AlertPanel.h"

#pragma clang diagnostic ignored "-Wdeprecated-declarations" // its answers are the contract's

namespace orvane {

namespace {

using namespace cocoa;

class CocoaAlertPanel final : public AlertPanel {
  public:
    std::int32_t run(const AlertPanelTexts& texts) override {
        return guardedOnMainThread(std::int32_t{kAlertPanelAlternate}, [&] {
            [NSApplication sharedApplication];
            return static_cast<std::int32_t>(
                NSRunAlertPanel(stringOf(texts.title), @"%@", stringOf(texts.defaultButton),
                                stringOf(texts.alternateButton), stringOf(texts.otherButton), stringOf(texts.message)));
        });
    }
};

} // namespace

AlertPanel& AlertPanel::platform() {
    static constinit CocoaAlertPanel panel;
    return panel;
}

} // namespace orvane

// Log messages: whatever an argument holds, one line of text comes out that a terminal does nothing about.

#include "Support/OVLog.h"
#include "Support/OVText.h"
#include "Tests/Fuzz/Fuzz.h"

using namespace orvane;

namespace {

class Sink final : public OVLogSink {
  public:
    void logMessage(const char* message) override { text = message; }
    std::string text;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Sink sink;
    OVSetLogSink(&sink);
    std::string argument(fuzz::bytes(data, size));
    argument = argument.substr(0, argument.find('\0'));
    OVLog("about %s.", argument.c_str());
    FUZZ_CHECK(sink.text.starts_with("about ") && sink.text.ends_with("."));
    FUZZ_CHECK(fuzz::isText(sink.text));
    for (std::string_view rest = sink.text; !rest.empty(); rest.remove_prefix(fuzz::characterLength(rest))) {
        const char32_t c = decodeUTF8(rest).value;
        FUZZ_CHECK(c >= 0x20 && (c < 0x7F || c >= 0xA0) && c != 0x2028 && c != 0x2029);
        FUZZ_CHECK((c < 0x202A || c > 0x202E) && (c < 0x2066 || c > 0x2069));
    }
    return 0;
}

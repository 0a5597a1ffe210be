#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Support/OVLog.h"

#include <cstdio>

int main(int argc, char* argv[]) {
    const char* const tool = argc > 1 ? argv[1] : "/usr/local/libexec/OrvaneTool";
    const bool ready = orvane::SUIDRoot::isSetUIDRoot(tool) && !orvane::SUIDRoot::isIgnoringSetUIDAtPath(tool);
    std::printf("%s is %s\n", tool, ready ? "ready" : "not installed");
    return ready ? 0 : 1;
}

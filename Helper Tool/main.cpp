#include "Helper Tool/CallerEnvironment.h"
#include "Helper Tool/ToolEntry.h"

int main(int argc, char* argv[]) {
    const uid_t realUserID = orvane::secureProcessFromCaller(); // before anything else, see there
    return orvane::toolMain(argc, argv, realUserID);
}

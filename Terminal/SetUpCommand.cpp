// `orvane setup`: what state the tool is in, and the change of it.

#include "Terminal/Commands.h"
#include "Terminal/Interrupts.h"
#include "Terminal/Question.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

namespace orvane::terminal {

namespace {

using State = OVToolClient::State;

bool isSetUp(State state) {
    return state == State::ready || state == State::older;
}

int tell(Session& session, const OVToolClient& client, bool undo, std::int32_t status) {
    const State state = client.state();
    const bool isAsWanted = undo ? !isSetUp(state) : isSetUp(state);
    const std::string command = undo ? client.surrenderCommand() : client.setUpCommand();
    if (session.json) {
        Json tool = {{"state", stateName(state)}};
        setBytes(tool, "path", client.path());
        setBytes(tool, "setUpCommand", client.setUpCommand());
        setBytes(tool, "surrenderCommand", client.surrenderCommand());
        session.answer({{"tool", tool}, {"authorizationStatus", status}});
    } else {
        session.console.print(stateSentence(client, state));
        if (!isAsWanted && (undo || state == State::notSetUp)) {
            session.console.print(translated("An administrator can type: {}", shown(command)));
        }
    }
    return isAsWanted ? kDone : kNotPermitted;
}

} // namespace

int setUpCommand(Session& session, bool undo, bool yes) {
    OVToolClient client = session.client();
    const State state = client.state();
    const bool canChange = undo ? isSetUp(state) || state == State::ignoredSetUID : state == State::notSetUp;
    if (!canChange) {
        return tell(session, client, undo, 0);
    }
    if (!session.json) {
        session.console.print(stateSentence(client, state));
        session.console.print(
            undo ? translated("Its right to become root is taken back: {}", shown(client.surrenderCommand()))
                 : translated("It is given to root, with the right to become root for whoever starts it: {}",
                              shown(client.setUpCommand())));
        session.console.flush();
    }
    if (!yes) {
        Interrupts::take();
        if (!Console::canAsk()) {
            throw CommandError(kUsage, translated("Nothing was done: there is no terminal to ask on, and no --yes."));
        }
        const Answer answer = askYesOrNo(undo ? translated("Take it back?") : translated("Set it up?"));
        if (answer == Answer::interrupted) {
            throw CommandError(static_cast<ExitStatus>(Interrupts::exitStatus()), translated("Nothing was done."));
        }
        if (answer == Answer::no) {
            throw CommandError(kCancelled, translated("Nothing was done."));
        }
    }
    const std::int32_t status = undo ? client.surrender() : client.setUp();
    return tell(session, client, undo, status);
}

} // namespace orvane::terminal

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

/// What is to be done, with the words for a person.
struct Change {
    bool isPossible;
    std::string sentence;
    std::string command;
    std::string question;
};

Change changeOf(const OVToolClient& client, State state, bool undo) {
    if (undo) {
        const std::string command = client.surrenderCommand();
        return {isSetUp(state) || state == State::ignoredSetUID,
                translated("Its right to become root is taken back: {}", shown(command)), command,
                translated("Take it back?")};
    }
    if (state == State::older) {
        const std::string command = client.replaceCommand(OVToolClient::broughtAlong().value_or(""));
        return {true, translated("The one that came with this program takes its place: {}", shown(command)), command,
                translated("Replace it?")};
    }
    const std::string command = client.setUpCommand();
    return {state == State::notSetUp,
            translated("It is given to root, with the right to become root for whoever starts it: {}", shown(command)),
            command, translated("Set it up?")};
}

std::int32_t perform(OVToolClient& client, State state, bool undo) {
    if (undo) {
        return client.surrender();
    }
    return state == State::older ? client.replace(OVToolClient::broughtAlong().value_or("")) : client.setUp();
}

int tell(Session& session, const OVToolClient& client, bool undo, std::int32_t status) {
    const State state = Session::stateOf(client);
    const bool isAsWanted = undo ? !isSetUp(state) : state == State::ready;
    if (session.json) {
        Json tool = {{"state", stateName(state)}};
        setBytes(tool, "path", client.path());
        setBytes(tool, "setUpCommand",
                 state == State::older ? changeOf(client, state, false).command : client.setUpCommand());
        setBytes(tool, "surrenderCommand", client.surrenderCommand());
        session.answer({{"tool", tool}, {"authorizationStatus", status}});
    } else {
        session.console.print(stateSentence(client, state));
        if (const Change change = changeOf(client, state, undo); !isAsWanted && change.isPossible) {
            session.console.print(translated("An administrator can type: {}", shown(change.command)));
        }
    }
    return isAsWanted ? kDone : kNotPermitted;
}

} // namespace

int setUpCommand(Session& session, bool undo, bool yes) {
    OVToolClient client = session.client();
    const State state = Session::stateOf(client);
    const Change change = changeOf(client, state, undo);
    if (!change.isPossible) {
        return tell(session, client, undo, 0);
    }
    if (!session.json) {
        session.console.print(stateSentence(client, state));
        session.console.print(change.sentence);
        session.console.flush();
    }
    if (!yes) {
        Interrupts::take();
        if (!Console::canAsk()) {
            throw CommandError(kUsage, translated("Nothing was done: there is no terminal to ask on, and no --yes."));
        }
        const Answer answer = askYesOrNo(change.question);
        if (answer == Answer::interrupted) {
            throw CommandError(static_cast<ExitStatus>(Interrupts::exitStatus()), translated("Nothing was done."));
        }
        if (answer == Answer::no) {
            throw CommandError(kCancelled, translated("Nothing was done."));
        }
    }
    return tell(session, client, undo, perform(client, state, undo));
}

} // namespace orvane::terminal

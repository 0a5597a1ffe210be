#!/bin/bash
# StageSelfTest.sh TOPIC...: tests the stage itself, that it does its work, keeps the machine out of reach and leaves
# nothing behind. The topics are the functions test_TOPIC below. Prints a line for each check; exits with 1 if any
# failed, with 77 if the stage is impossible here.
# Much here is quoted for the shell of the stage, or called by a name in a variable.
# shellcheck disable=SC2016,SC2317
set -uo pipefail

here=$(cd -- "${BASH_SOURCE[0]%/*}" && pwd -P)
stage=$here/../Stage/stage
work=$(mktemp -d "${TMPDIR:-/tmp}/stage-self-test.XXXXXX")
chmod 0755 "$work"
export ORVANE_STAGE_DIR=$work/stage
trap 'rm -rf --one-file-system -- "$work"' EXIT
failures=0

ok() { printf 'ok    %s\n' "$1"; }
fail() { printf 'FAIL  %s%s\n' "$1" "${2:+: $2}"; failures=$((failures + 1)); }
skip() { printf 'skip  %s: %s\n' "$1" "$2"; }
equal() { # NAME EXPECTED FOUND
    if [[ $2 == "$3" ]]; then ok "$1"; else fail "$1" "expected '$2', found '$3'"; fi
}
contains() { # NAME PART TEXT
    if [[ $3 == *"$2"* ]]; then ok "$1"; else fail "$1" "'$2' is not in '$3'"; fi
}

on_stage() { "$stage" exec "$@"; }
in_shell() { "$stage" exec -- /bin/sh -c "$1"; }

within() { # SECONDS COMMAND...
    local tries=$(($1 * 20))
    shift
    while (( tries-- > 0 )); do
        if "$@"; then return 0; fi
        sleep 0.05
    done
    return 1
}

# --- nothing is left behind -----------------------------------------------------

mounts() { cut -d ' ' -f 5- /proc/self/mountinfo | grep -F -- "$work"; }
directories() { find "$ORVANE_STAGE_DIR" -maxdepth 1 \( -name 'run.*' -o -name 'new.*' -o -name 'building.*' \); }
# Every process of a stage is in the stage's own process number namespace.
inhabitants() { # NAMESPACE
    local link
    for link in /proc/[0-9]*/ns/pid; do
        [[ $(readlink "$link" 2>/dev/null) != "$1" ]] || printf '%s\n' "$link"
    done
}
processes_under() { # DIRECTORY: those whose root it is
    local link
    for link in /proc/[0-9]*/root; do
        [[ $(readlink "$link" 2>/dev/null) != "$1"/run.* ]] || printf '%s\n' "$link"
    done
}
is_empty_of() { [[ -z $(inhabitants "$1") && -z $(mounts) && -z $(directories) ]]; }
is_clean_of_chroots() { [[ -z $(processes_under "$ORVANE_STAGE_DIR") && -z $(directories) ]]; }

nothing_left() { # NAME NAMESPACE
    if within 5 is_empty_of "$2"; then ok "$1"
    else fail "$1" "processes: $(inhabitants "$2") mounts: $(mounts) directories: $(directories)"; fi
}

# Starts a stage whose command tells its namespace and goes on for long; sets started and namespace.
# The default dispositions are given back because bash takes interrupts away from background commands.
begin() { # OPTIONS...
    rm -f "$work/said"
    mkfifo "$work/said"
    env --default-signal=INT setsid "$stage" exec "$@" -- /bin/bash -c '
        trap "echo told; exit 9" TERM INT
        readlink /proc/self/ns/pid 2>/dev/null || echo none
        (trap - TERM INT; exec sleep 300) &
        setsid sleep 301 &
        wait; wait' >"$work/said" 2>"$work/errors" </dev/null &
    started=$!
    exec {said}<"$work/said"
    namespace=none
    read -r -t 30 -u "$said" namespace || fail 'a stage for the signal tests starts' "$(cat "$work/errors")"
}

finish() { # sets status and rest
    status=0
    wait "$started" 2>/dev/null || status=$?
    rest=$(timeout 5 cat <&"$said") || rest+=' and its output is still open'
    exec {said}<&-
}

child_of() { local children; read -r children _ <"/proc/$1/task/$1/children"; printf '%s' "$children"; }

test_leaving() {
    local signal number victim left
    namespace=$(in_shell 'readlink /proc/self/ns/pid; (sleep 300 >/dev/null 2>&1 &)')
    nothing_left 'a normal end leaves nothing, not even background processes' "$namespace"
    for signal in TERM:143 INT:130 HUP:129; do
        number=${signal#*:}
        signal=${signal%:*}
        begin
        kill -s "$signal" "$started"
        finish
        equal "SIG$signal ends the stage with $number" "$number" "$status"
        [[ $signal == HUP ]] || equal "SIG$signal reaches the command" told "$rest"
        nothing_left "SIG$signal leaves nothing" "$namespace"
    done
    begin
    kill -INT -- "-$started"
    finish
    equal 'an interrupt of the whole group, as from a terminal, ends with 130' 130 "$status"
    nothing_left 'an interrupt of the whole group leaves nothing' "$namespace"
    for signal in INT TERM; do
        begin --changes "$work/changes"
        kill -s "$signal" -- "-$started"
        finish
        equal "after SIG$signal it is still known what changed: nothing" '0' "$(wc -c <"$work/changes")"
        rm -f "$work/changes"
    done
    for victim in script starter 'process 1'; do
        number=137
        begin
        left=$started
        [[ $victim == script ]] || left=$(child_of "$left")
        # unshare cannot die of the same signal as process 1 did, so it fails instead.
        if [[ $victim == 'process 1' ]]; then left=$(child_of "$left") number=1; fi
        kill -KILL "$left"
        finish
        equal "SIGKILL of the $victim ends the stage with $number" "$number" "$status"
        equal "SIGKILL of the $victim closes the output" '' "$rest"
        nothing_left "SIGKILL of the $victim leaves nothing" "$namespace"
    done
}

# --- groups, sessions and terminals ---------------------------------------------

# A pipeline in a group of its own, around a stage whose command signals its own group.
around() { # OPTIONS...
    setsid bash -c '"$@" -- /bin/sh -c "kill -s INT 0; echo went on"; echo "survived $?" | cat' bash "$stage" exec "$@"
}

# A terminal: what is written to $keys is typed, $work/screen is what it shows.
open_terminal() { # COMMAND...
    local line
    printf -v line '%q ' "$@"
    rm -f "$work/keys" "$work/screen"
    mkfifo "$work/keys"
    exec {keys}<>"$work/keys"
    : >"$work/screen"
    env --default-signal=INT SHELL="$BASH" setsid script -qefc "$line" /dev/null <"$work/keys" >"$work/screen" 2>&1 &
    started=$!
}
shows() { grep -q "$1" "$work/screen"; }
close_terminal() { # sets status
    status=0
    wait "$started" || status=$?
    exec {keys}>&-
}

test_reach() {
    local mode
    for mode in mount chroot; do
        equal "$mode: a signal to the own group stays on the stage" 'survived 130' "$(around --mode $mode)"
        open_terminal "$stage" exec --mode $mode -- /bin/bash -c \
            '[[ -t 0 ]] && echo typed at; { : </dev/tty; } 2>/dev/null || echo not ours; echo ready; exec sleep 300'
        within 30 shows ready
        equal "$mode: the terminal is not the command's" 'typed at not ours ready' "$(tr -d '\r' <"$work/screen" | tr '\n' ' ' | sed 's/ $//')"
        printf '\003' >&"$keys"
        close_terminal
        equal "$mode: Ctrl-C ends the command with 130" 130 "$status"
        open_terminal "$stage" exec --mode $mode -- /bin/bash -c '
            /stage/bin/setsid env --default-signal=INT /bin/bash -c "trap \"echo everybody\" INT; echo ready; sleep 300 & wait; sleep 1" &
            trap "sleep 0.4; echo told; exit 9" INT
            wait'
        within 30 shows ready
        printf '\003' >&"$keys"
        close_terminal
        equal "$mode: Ctrl-C reaches the command's group first" 'ready told' "$(tr -d '\r' <"$work/screen" | sed 's/^^C//' | xargs)"
    done
    equal 'process 1 has a group and a session with a number' '1 1' "$(on_stage -- /bin/ps -o pgid=,sid= -p 1 | xargs)"
    equal 'the command has others' 'no no' "$(on_stage -- /bin/bash -c \
        'read -r group session < <(ps -o pgid=,sid= -p $$); [[ $group == $$ ]] && echo no; [[ $session == $$ ]] && echo no' | xargs)"
    open_terminal "$stage" exec --terminal --as ann --env PS1=at: -- /bin/bash --norc --noprofile -i
    within 30 shows at:
    printf '%s\n' ': </dev/tty && [[ -t 0 && $- == *m* ]] && echo ow"ned"' 'sleep 300 && echo wro"ng"' >&"$keys"
    within 30 shows owned
    sleep 0.5
    printf '\003echo st"ill" $?\nexit 6\n' >&"$keys"
    close_terminal
    contains 'the shell has a terminal with job control' owned "$(cat "$work/screen")"
    contains 'Ctrl-C ends the job, not the shell' 'still 130' "$(cat "$work/screen")"
    equal 'the status of a command on a terminal is passed on' 6 "$status"
    for signal in TERM:143 HUP:129; do
        begin --terminal
        kill -s "${signal%:*}" "$started"
        finish
        equal "SIG${signal%:*} ends a command on a terminal with ${signal#*:}" "${signal#*:}" "$status"
        nothing_left "SIG${signal%:*} leaves nothing of it" "$namespace"
    done
}

# --- entering -------------------------------------------------------------------

test_entering() {
    local status
    equal 'output and errors stay apart' 'out' "$(in_shell 'echo out; echo err >&2' 2>"$work/errors")"
    equal 'errors are passed on and nothing is added' 'err' "$(cat "$work/errors")"
    equal 'input is passed on' 'typed' "$(printf 'typed' | on_stage -- /bin/cat)"
    for status in 0 3 77 127; do
        in_shell "exit $status"
        equal "status $status is passed on" "$status" $?
    done
    in_shell 'kill -TERM $$' 2>"$work/errors"
    equal 'death by signal 15 is 143' 143 $?
    equal 'the shell of the stage does not comment on it' '' "$(cat "$work/errors")"
    on_stage -- /no/such/program 2>/dev/null
    equal 'a missing command is 127' 127 $?
    on_stage --mode nonsense -- /usr/bin/true 2>/dev/null
    equal 'an unknown mode is refused' 64 $?
    on_stage --xargs nonsense -- /usr/bin/true 2>/dev/null
    equal 'an unknown xargs is refused' 64 $?
    on_stage --as nobodyknows -- /usr/bin/true 2>/dev/null
    equal 'an unknown user is refused' 64 $?
    on_stage --need nonsense -- /usr/bin/true 2>/dev/null
    equal 'an unknown capability is refused' 64 $?
    contains 'the marker is there' 'stage' "$(on_stage -- /bin/cat /.orvane-stage)"
    equal 'ann is ann' '501 20 /Users/ann ann' "$(on_stage --as ann -- /bin/bash -c 'echo $(id -u) $(id -g) $PWD $USER')"
    equal 'the environment is made anew' '' "$(LEAK=1 on_stage -- /usr/bin/env | grep LEAK)"
    equal 'variables can be added' 'a b' "$(on_stage --env 'ADDED=a b' -- /bin/bash -c 'echo "$ADDED"')"
    in_shell 'exec 3>&- 4>&- 5>&-; ls /proc/self/fd' 7</etc/passwd >"$work/said.txt"
    equal 'no other descriptors come along' '0 1 2 3' "$(tr '\n' ' ' <"$work/said.txt" | sed 's/ $//')"
    equal 'programs are brought along' 'brought' "$(on_stage --program "$(type -P printf)" -- /stage/bin/printf brought)"
    mkdir -p "$work/Resources/inner"
    printf 'data' >"$work/Resources/inner/a file"
    chmod 0600 "$work/Resources/inner/a file"
    equal 'data is brought along, for everybody to read' 'data 644 0' "$(on_stage --data "$work/Resources" --as ann -- \
        /bin/bash -c 'cat "$1"; stat -c " %a %u" "$1"' bash '/stage/bin/Resources/inner/a file')"
    on_stage --data "$work/missing" -- /usr/bin/true 2>/dev/null
    equal 'missing data is reported' 70 $?
}

# A program that does what the tool does: it sets its own bit, and becomes root by it.
test_tool() {
    local compiler source=$work/tool.c tool=$work/tool
    compiler=$(type -P cc) || { skip 'the set-user-ID bit' 'there is no compiler'; return; }
    cat >"$source" <<'TEXT'
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
int main(int argc, char **argv) {
    if (argc > 1 && !strcmp(argv[1], "repairPriviliges")) return chmod(argv[0], 04755) != 0;
    if (setuid(0) != 0) { puts("refused"); return 1; }
    printf("%d\n", (int)getuid());
    return 0;
}
TEXT
    "$compiler" -o "$tool" "$source" || { fail 'the probe compiles'; return; }
    equal 'the tool runs as root by its bit' 0 "$(on_stage --tool "$tool" --as ann -- /usr/local/libexec/OrvaneTool)"
    equal 'without the bit it does not' refused "$(on_stage --tool "$tool" --no-install-bit --as ann -- /usr/local/libexec/OrvaneTool)"
    on_stage --tool "$(type -P false)" -- /usr/bin/true 2>/dev/null
    equal 'a tool that cannot set its bit is reported' 70 $?
    setpriv --no-new-privs "$stage" exec --need suid --tool "$tool" -- /usr/bin/true 2>/dev/null
    equal 'where set-user-ID is ignored, that is found out' 77 $?
}

# --- the machine is out of reach ------------------------------------------------

available() { df --output=avail -B1M -- "$1" | tail -n 1; }

# The stage stays full while the machine's disk is looked at.
test_filling() { # NAME PATH-ON-THE-STAGE
    local before after answer
    before=$(available "$work")
    coproc FULL { in_shell "dd if=/dev/zero of='$2' bs=64k 2>&1 | grep -o 'No space left' ; read -r go" 2>&1; }
    read -r -t 60 -u "${FULL[0]}" answer
    after=$(available "$work")
    equal "filling $1 ends with ENOSPC" 'No space left' "$answer"
    if (( before - after < 100 )); then ok "filling $1 leaves the machine's disk alone"
    else fail "filling $1 leaves the machine's disk alone" "$((before - after)) MB fewer are free"; fi
    printf 'go\n' >&"${FULL[1]}"
    wait "$FULL_PID" 2>/dev/null
}

test_protection() {
    local path bystander
    printf 'of the machine\n' >"$work/secret"
    for path in "$work/secret" "$here" /sys /boot /root "/proc/1/root$work/secret" "/proc/self/root/../..$work/secret"; do
        in_shell "[ -e '$path' ]"
        equal "$path is not there" 1 $?
    done
    equal 'process 1 is of the stage' '/stage/enter' "$(in_shell 'tr "\0" "\n" </proc/1/cmdline | sed -n 2p')"
    in_shell '[ /proc/1/exe -ef /bin/bash ]'
    equal 'process 1 runs the bash of the stage' 0 $?
    on_stage --program "$(type -P mknod)" -- /stage/bin/mknod /tmp/disk b 8 0 2>/dev/null
    equal 'device nodes cannot be made' 1 $?
    path=$(in_shell 'sed -n "s/^CapBnd:\t//p" /proc/self/status')
    equal 'the capabilities mknod (27), sys_rawio (17), sys_module (16) and sys_boot (22) are gone' 0 \
        $((16#$path >> 27 & 1 | 16#$path >> 17 & 1 | 16#$path >> 16 & 1 | 16#$path >> 22 & 1))
    in_shell 'echo 1 2>/dev/null >/proc/sys/kernel/core_uses_pid' 2>/dev/null
    equal '/proc/sys cannot be written' 1 $?
    equal 'there are only the harmless devices' 'fd full null random shm stderr stdin stdout tty urandom zero' \
        "$(in_shell 'ls /dev' | tr '\n' ' ' | sed 's/ $//')"
    sleep 300 &
    bystander=$!
    in_shell 'kill -KILL -1' 2>/dev/null
    if kill "$bystander" 2>/dev/null; then ok 'a signal to everybody stays on the stage'
    else fail 'a signal to everybody stays on the stage'; fi
    in_shell 'rm -rf --no-preserve-root / 2>/dev/null'
    if [[ -s $work/secret && -x $stage ]]; then ok 'removing everything does not reach the machine'
    else fail 'removing everything does not reach the machine'; fi
    test_filling 'a volume' '/Volumes/Time Capsule/fill'
    test_filling 'the startup volume' /Users/Shared/fill
}

# --- two at once, and keeping -----------------------------------------------------

test_together() {
    local first second
    rm -rf "$ORVANE_STAGE_DIR"
    first=$work/first second=$work/second
    in_shell 'echo 1 >/tmp/x; rm -r /Users/bob; sleep 1; cat /tmp/x; ls /Users | wc -l' >"$first" 2>&1 &
    in_shell 'echo 2 >/tmp/x; sleep 1; cat /tmp/x; ls /Users | wc -l' >"$second" 2>&1 &
    wait
    equal 'two first starts at once, one stage' '1 2' "$(tr '\n' ' ' <"$first" | sed 's/ $//')"
    equal 'two first starts at once, the other' '2 3' "$(tr '\n' ' ' <"$second" | sed 's/ $//')"
    equal 'one base was built' 1 "$(bases | wc -l)"
    first=$(bases)
    ln -s "$stage" "$work/link to the stage"
    "$here/Stage/../../Stage/stage" exec -- /usr/bin/true
    "$work/link to the stage" exec -- /usr/bin/true
    (cd -- "$here" && ../Stage/stage exec -- /usr/bin/true)
    equal 'however the script is called, the base is the same' "$first" "$(bases)"
    # Two sets of stage files throw each other's base away.
    mkdir -p "$work/other"
    cp -rp -- "$here/../Stage" "$work/other/"
    for first in 1 2 3 4 5 6; do
        "$stage" exec -- /bin/echo ours &
        "$work/other/Stage/stage" exec -- /bin/echo theirs &
    done >"$second" 2>&1
    wait
    equal 'starts at once from different stage files all succeed' '6 ours 6 theirs' "$(sort "$second" | uniq -c | xargs)"
}
bases() { find "$ORVANE_STAGE_DIR" -name 'base-*.tar' -printf '%i %p\n'; }

test_keeping() {
    local changes=$work/changes mode
    for mode in mount chroot; do
        on_stage --mode $mode --keep --changes "$changes" --as ann -- /bin/bash -c \
            'echo more >>~/Documents/Letter.txt; rm "Desktop/To do.txt"; echo 12345 >"new file"; chmod 700 /Users/ann/Public'
        equal "$mode: the changes are listed" \
            'added f - 6 - /Users/ann/new file|changed f 700 705 contents /Users/ann/Documents/Letter.txt|changed d 0 0 mode /Users/ann/Public|removed f 700 - - /Users/ann/Desktop/To do.txt|' \
            "$(sed -E 's/\td\t[0-9]+\t[0-9]+\tmode [0-9]+->[0-9]+/\td\t0\t0\tmode/' "$changes" | tr '\t\n' ' |')"
        equal "$mode: the kept stage is for its owner only" 700 "$(stat -c %a "$ORVANE_STAGE_DIR/kept")"
        equal "$mode: it can be looked at" 12345 "$(cat "$ORVANE_STAGE_DIR/kept/Users/ann/new file")"
        equal "$mode: the next one starts from it" '12345 501' \
            "$(on_stage --mode $mode --keep -- /bin/bash -c 'cat "/Users/ann/new file"; stat -c %u "/Users/ann/new file"' | tr '\n' ' ' | sed 's/ $//')"
        equal "$mode: it has the xargs that is asked for" 'a  b|a b' "$(for whose in gnu apple; do
            on_stage --mode $mode --keep --xargs $whose -- /bin/sh -c 'echo "a  b" | xargs -I F echo F'
        done | paste -s -d '|')"
        equal "$mode: others do not" '' "$(on_stage --mode $mode -- /bin/cat '/Users/ann/new file' 2>/dev/null)"
        equal "$mode: no set-user-ID program is kept" '' "$(find "$ORVANE_STAGE_DIR/kept" -perm /6000)"
        "$stage" clean
        if [[ -e $ORVANE_STAGE_DIR ]]; then fail "$mode: clean removes everything" "$(ls "$ORVANE_STAGE_DIR")"
        else ok "$mode: clean removes everything"; fi
    done
    on_stage -- /usr/bin/true
    on_stage --keep -- /bin/sleep 3 &
    sleep 1
    on_stage --keep -- /usr/bin/true 2>/dev/null
    equal 'a second --keep at the same time is refused' 70 $?
    wait
    on_stage --changes "$changes" -- /usr/sbin/diskutil unmount /Volumes/Data >/dev/null
    equal 'an unmounted volume is listed as such' 'unmounted d - - - /Volumes/Data' "$(tr '\t' ' ' <"$changes")"
    "$stage" clean
}

# --- the machine's folder for temporary files -------------------------------------

# With a /tmp that nobody else uses, whatever the stage would leave there is seen.
test_temporary_files() {
    tar -C "$here/.." -cf - Stage | unshare --mount bash -c '
        mount -t tmpfs own /tmp && mkdir /tmp/own && tar -C /tmp/own -xf - && cd /tmp/own || exit
        unset TMPDIR
        export ORVANE_STAGE_DIR=/tmp/own/stage
        for mode in mount chroot; do
            Stage/stage exec --mode $mode --keep --changes changes -- /bin/sh -c "mktemp -d; touch /tmp/mark"
            Stage/stage exec --mode $mode --as ann -- /bin/sh -c "mktemp; kill -s KILL 0"
        done
        Stage/stage exec --terminal -- /usr/bin/true
        Stage/stage clean
        ls -A /tmp /tmp/own' >"$work/said.txt" 2>&1
    equal 'the temporary files of the machine are as before' '/tmp: own /tmp/own: Stage changes' \
        "$(sed '/^.tmp.tmp/d; /^$/d' "$work/said.txt" | xargs)"
}

# --- the other modes --------------------------------------------------------------

test_chroot() {
    local status janitor line contained
    contained=(setpriv --bounding-set '-all,+chown,+dac_override,+fowner,+fsetid,+kill,+setgid,+setuid,+setpcap,+sys_chroot,+mknod')
    if [[ $("${contained[@]}" "$stage" status) == *'mode: chroot'* ]]; then
        "${contained[@]}" "$stage" exec --need suid --as ann -- /bin/bash -c 'exit 6'
        equal 'chroot: it is chosen where root may not mount' 6 $?
        "${contained[@]:0:2}" "${contained[2]%,+mknod}" "$stage" exec -- /usr/bin/true 2>"$work/errors"
        equal 'chroot: without device nodes it is refused' 77 $?
        contains 'chroot: and that is said' 'device nodes' "$(cat "$work/errors")"
        is_clean_of_chroots
        equal 'chroot: a refusal leaves nothing' 0 $?
    else
        skip 'chroot: it is chosen where root may not mount' 'this root has user namespaces with subordinate ids'
    fi
    equal 'chroot: the capabilities are honest' 'mount=no volumes=no suid=yes users=yes proc=no pidns=no' \
        "$(on_stage --mode chroot -- /bin/cat /stage/capabilities | cut -d ' ' -f 1 | tr '\n' ' ' | sed 's/ $//')"
    on_stage --mode chroot -- /bin/bash -c 'exit 5'
    equal 'chroot: the status is passed on' 5 $?
    contains 'chroot: dd without a count is refused' refused \
        "$(on_stage --mode chroot -- /bin/dd if=/dev/zero of=/Volumes/Data/fill 2>&1)"
    on_stage --mode chroot -- /bin/dd if=/dev/zero of=/Volumes/Data/some bs=1k count=3 2>/dev/null
    equal 'chroot: dd with a count works' 0 $?
    on_stage --mode chroot -- /bin/bash -c 'exec cat /dev/zero >/Users/Shared/fill'
    equal 'chroot: no file grows without end' 153 $?
    contains 'chroot: volumes cannot be unmounted' 'no volumes' "$(on_stage --mode chroot -- /usr/sbin/diskutil unmount Data 2>&1)"
    on_stage --mode chroot -- /bin/bash -c "[[ -e $work/secret ]]"
    equal 'chroot: the files of the machine are not there' 1 $?
    on_stage --mode chroot -- /bin/bash -c '(setsid sleep 300 >/dev/null 2>&1 &)'
    if is_clean_of_chroots; then ok 'chroot: a normal end leaves nothing'
    else fail 'chroot: a normal end leaves nothing' "$(directories) $(processes_under "$ORVANE_STAGE_DIR")"; fi
    for line in TERM:143 INT:130 KILL:137; do
        begin --mode chroot
        kill -s "${line%:*}" "$started"
        finish
        equal "chroot: SIG${line%:*} ends with ${line#*:}" "${line#*:}" "$status"
        if within 5 is_clean_of_chroots; then ok "chroot: SIG${line%:*} leaves nothing"
        else fail "chroot: SIG${line%:*} leaves nothing" "$(directories) $(processes_under "$ORVANE_STAGE_DIR")"; fi
    done
    begin --mode chroot
    janitor=$(child_of "$started")
    kill -KILL "$janitor" "$started"
    finish 2>/dev/null
    equal 'chroot: with its janitor killed too, a directory stays' 1 "$(directories | wc -l)"
    on_stage -- /usr/bin/true
    if is_clean_of_chroots; then ok 'chroot: the next start sweeps it away'
    else fail 'chroot: the next start sweeps it away' "$(directories) $(processes_under "$ORVANE_STAGE_DIR")"; fi
}

# As a user with nothing but a user namespace; the scripts are copied to where that user may read them.
test_ordinary_user() {
    local copy=$work/copy unprivileged
    mkdir -p "$copy" "$work/unprivileged"
    cp -r -- "${stage%/*}" "$copy/"
    chmod -R a+rX "$copy"
    chown 65533:65533 "$work/unprivileged"
    unprivileged=(setpriv --reuid 65533 --regid 65533 --clear-groups env "ORVANE_STAGE_DIR=$work/unprivileged" "$copy/Stage/stage")
    if ! "${unprivileged[@]}" status >"$work/said.txt" 2>&1; then
        skip 'an ordinary user has a stage' "$(cat "$work/said.txt")"
        return
    fi
    equal 'an ordinary user has a stage' '0 yes' "$("${unprivileged[@]}" exec -- /bin/bash -c 'id -u; sed -n s/volumes=//p /stage/capabilities' | tr '\n' ' ' | sed 's/ $//')"
    contains 'and is told why nobody else is on it' 'only the id of root' "$("${unprivileged[@]}" exec --as ann -- /usr/bin/true 2>&1)"
    "${unprivileged[@]}" exec --as ann -- /usr/bin/true 2>/dev/null
    equal 'by status 77' 77 $?
    "${unprivileged[@]}" exec --mode chroot -- /usr/bin/true 2>/dev/null
    equal 'and cannot have the chroot mode' 77 $?
    "${unprivileged[@]}" exec --keep -- /usr/bin/true
    "${unprivileged[@]}" clean
    equal 'clean removes what an ordinary user kept' '' "$(ls -A "$work/unprivileged")"
}

# --- the programs -----------------------------------------------------------------

# Runs on the stage; see test_programs.
programs_on_stage() {
    local good bad text size
    # check NAME STATUS PART COMMAND...: the status, and a part of the output.
    check() {
        local name=$1 wanted=$2 part=$3 output status=0
        shift 3
        output=$("$@" 2>&1) || status=$?
        if [[ $status == "$wanted" && $output == *"$part"* ]]; then printf 'ok %s\n' "$name"
        else printf 'FAIL %s: status %s, output %s\n' "$name" "$status" "${output//$'\n'/ | }"; fi
    }
    gone() { [[ ! -e $1 && ! -L $1 ]]; }
    silent() { [[ -z $("$@" 2>&1) ]]; }
    cd / || return

    printf '#!/bin/bash\necho from one\n' >/etc/periodic/daily/100.one
    printf '#!/bin/bash\necho from two; exit 4\n' >/etc/periodic/daily/200.two
    chmod 755 /etc/periodic/daily/*.{one,two}
    check 'periodic runs' 0 '' periodic daily
    check 'periodic keeps the old log' 0 'Thu Mar  1 03:15:02 UTC 2018' head -n 1 /var/log/daily.out
    check 'periodic runs the scripts in order' 0 $'from one\nRemoving' bash -c 'grep -E "^(from one|Removing old t)" /var/log/daily.out | tail -n 2 | sed "s/ old.*//"'
    check 'periodic notes failures' 0 '200.two: exit status 4' tail -n 30 /var/log/daily.out
    check 'periodic ends with a footer' 0 'End of daily output' tail -n 1 /var/log/daily.out
    check 'the daily scripts remove old temporary files' 0 '' gone /tmp/old-upload.tmp
    check 'the daily scripts keep new temporary files' 1 '' gone /tmp/launchd.lock
    check 'periodic refuses an unknown period' 1 'not found' periodic hourly
    check 'periodic wants a period' 1 usage periodic
    check 'periodic weekly and monthly' 0 '' periodic weekly monthly
    check 'the monthly scripts rotate logs' 0 '' test -f /var/log/wifi.log.0.gz -a ! -s /var/log/wifi.log

    good=/Library/Preferences/com.example.Updater.plist
    bad=/Library/Preferences/com.example.Player.plist
    check 'plutil: a good XML file' 0 "$good: OK" plutil "$good"
    check 'plutil: a good binary file' 0 ': OK' plutil -lint -- /Library/Preferences/com.apple.loginwindow.plist
    check 'plutil: a truncated XML file' 1 "$bad: Encountered unexpected EOF" plutil "$bad"
    check 'plutil: a truncated binary file' 1 'binary property list is damaged' plutil /Users/bob/Library/Preferences/com.example.Cut.plist
    check 'plutil: an empty file' 1 'Empty.plist: ' plutil /Users/ann/Library/Preferences/com.example.Empty.plist
    check 'plutil: garbage, in a name with a blank' 1 'Old Backup.plist: ' plutil '/Library/Preferences/com.example.Old Backup.plist'
    check 'plutil: a missing file' 1 '/nowhere.plist: file does not exist' plutil /nowhere.plist
    check 'plutil: one bad file among good ones' 1 "$good: OK" plutil "$good" "$bad" "$good"
    check 'plutil -s says nothing of good files' 0 '' silent plutil -lint -s "$good"
    check 'plutil -s: one line for a bad file' 0 1 bash -c "plutil -lint -s $good $bad | wc -l"
    check 'plutil wants a file' 1 'No files' plutil -lint
    check 'plutil refuses unknown options' 1 unrecognized plutil -convert xml1 "$good"
    head -c 300 /dev/urandom >/tmp/random.plist
    check 'plutil: random bytes' 1 random plutil /tmp/random.plist
    while IFS=$'\t' read -r size text; do
        printf '%s\n' "$text" >/tmp/case.plist
        check "plutil: $text" "$size" '' plutil /tmp/case.plist
    done <<'TEXT'
0	<plist version="1.0"><dict><key>a</key><integer>-3</integer><key>b</key><true/></dict></plist>
0	<plist><array><string>&lt;<![CDATA[ & ]]></string><data>AAEC</data><date>2018-01-01T00:00:00Z</date></array></plist>
0	<plist><dict/></plist>
0	{ a = b; "c d" = (1, "2", <0aff>); }
1	<plist><dict><key>a</key></dict></plist>
1	<plist><dict><string>a</string></dict></plist>
1	<plist><array><string>a</array></plist>
1	<plist><string>a & b</string></plist>
1	<plist><integer>x</integer></plist>
1	<plist><banana/></plist>
1	<plist></plist>
1	<plist><dict/></plist> more
1	<dict></dict>
1	{ a = b
1	hello world
TEXT

    mkdir -p '/tmp/s/a b/c'
    ln /Users/Shared/Report.txt '/tmp/s/a b/c/other name'
    cp /Users/Shared/Report.txt /tmp/original
    ln -s /Users/ann/Documents /tmp/s/link
    mkfifo /tmp/s/pipe
    check 'srm wants -r for a folder' 1 'is a directory' srm /tmp/s
    check 'srm -n overwrites and keeps' 0 '' srm -s -n '/tmp/s/a b/c/other name'
    check 'srm has overwritten what another name shows' 1 '' cmp -s /tmp/original /Users/Shared/Report.txt
    check 'srm -z leaves zeros' 0 '' bash -c 'srm -szn /Users/Shared/Report.txt; [[ -z $(tr -d "\0" </Users/Shared/Report.txt | head -c 1) ]]'
    check 'srm -vfmr -- removes and tells' 0 'removing /tmp/s/a b/c/other name' srm -vfmr -- /tmp/s
    check 'srm has removed the folder' 0 '' gone /tmp/s
    check 'srm did not follow a link' 0 'Letter.txt: a line' cat /Users/ann/Documents/Letter.txt
    check 'srm: a missing file' 1 'No such file' srm /tmp/missing
    check 'srm -f: a missing file' 0 '' srm -f /tmp/missing
    check 'srm wants a file' 1 'missing operand' srm
    check 'srm refuses unknown flags' 1 usage srm -q /tmp/original
    check 'srm -i asks' 0 '' bash -c 'echo n | srm -i /tmp/original 2>/dev/null; [[ -e /tmp/original ]]'

    check 'diskutil list' 0 '/Volumes/Time Capsule' diskutil list
    check 'diskutil info' 0 'Mount Point:              /Volumes/Data' diskutil info Data
    check 'diskutil info of an unknown volume' 1 'Unable to find disk' diskutil info Nowhere
    check 'diskutil verifyVolume' 0 'appears to be OK' diskutil verifyVolume '/Volumes/Time Capsule'
    check 'diskutil repairVolume' 0 'Finished file system repair' diskutil repairVolume Backup
    check 'diskutil cannot repair the startup volume' 1 'Unable to unmount' diskutil repairVolume /
    check 'diskutil: an empty name' 1 'must be named' diskutil unmount ''
    check 'diskutil: an unknown volume' 1 'Unable to find disk' diskutil unmount /Volumes/Nowhere
    check 'diskutil: an unknown verb' 1 usage diskutil eraseDisk JHFS+ New disk0
    check 'diskutil cannot unmount the startup volume' 1 'startup volume' diskutil unmount /
    check 'diskutil: a busy volume stays' 1 'Unmount failed' bash -c 'cd /Volumes/Data && diskutil unmount Data'
    check 'diskutil unmount force' 0 'unmounted' bash -c 'cd /Volumes/Data && diskutil unmount force Data'
    check 'diskutil unmount' 0 'Volume Time Capsule on disk2s1 unmounted' diskutil unmount '/Volumes/Time Capsule'
    check 'an unmounted volume is gone' 0 '' gone '/Volumes/Time Capsule'
    chmod 4777 /bin/ls
    chown 501:20 /usr/bin/find
    check 'diskutil verifyPermissions finds differences' 0 'Permissions differ on "bin/ls"; should be rwxr-xr-x ; they are rwsrwxrwx' diskutil verifyPermissions /
    check 'diskutil verifyPermissions changes nothing' 0 4777 stat -c %a /bin/ls
    check 'diskutil repairPermissions repairs' 0 'Repaired "usr/bin/find"' diskutil repairPermissions /
    check 'permissions are repaired' 0 $'755 0 0\n755 0 0' stat -c '%a %u %g' /bin/ls /usr/bin/find
    check 'diskutil repairPermissions needs receipts' 1 'no installed packages' diskutil repairPermissions Backup
    check 'diskutil repairPermissions needs root' 1 'needs root' setpriv_ann diskutil repairPermissions /

    check 'mdutil -s' 0 'Indexing enabled' mdutil -s /
    check 'mdutil -E' 0 'Indexing enabled' mdutil -E /
    check 'mdutil has erased the store' 0 '' rmdir /.Spotlight-V100/Store-V2
    check 'mdutil -i off' 0 'Indexing disabled' mdutil -i off /Volumes/Backup
    check 'mdutil -s sees it' 0 'Indexing disabled' mdutil -s /Volumes/Backup
    check 'mdutil: an unknown volume' 1 'unknown volume' mdutil -E /Volumes/Nowhere
    check 'mdutil needs root' 1 'needs root' setpriv_ann mdutil -E /
    check 'mdutil wants a command' 1 usage mdutil /

    check 'dscacheutil -cachedump' 0 'Category host: 2 entries' dscacheutil -cachedump
    check 'dscacheutil needs rights to flush' 1 '' setpriv_ann dscacheutil -flushcache
    check 'dscacheutil -flushcache' 0 '' dscacheutil -flushcache
    check 'dscacheutil has flushed' 0 'Category host: 0 entries' dscacheutil -cachedump
    check 'dscacheutil: an unknown command' 1 usage dscacheutil -q

    check 'atsutil as ann cannot remove the system database' 1 'User databases removed' setpriv_ann atsutil databases -remove
    check 'atsutil databases -remove' 0 'System database removed' atsutil databases -remove
    check 'the font caches are gone' 0 '' silent find /private/var/folders -name 'com.apple.FontRegistry*'
    check 'atsutil: an unknown command' 1 usage atsutil server -ping

    rm -f /usr/share/man/whatis
    check 'whatis without a database' 1 'nothing appropriate' whatis srm
    check 'makewhatis -v' 0 'man1/srm.1' /usr/libexec/makewhatis -v
    check 'whatis reads mdoc pages' 0 'srm(1) - remove files securely' whatis srm
    check 'whatis reads man pages' 0 'dscacheutil(1) - look after' whatis dscacheutil
    check 'makewhatis: a missing folder' 1 'No such directory' /usr/libexec/makewhatis /nowhere

    rm -f /var/db/locate.database
    check 'locate without a database' 1 'No such file' locate Letter
    check 'locate.updatedb' 0 WARNING /usr/libexec/locate.updatedb
    check 'locate finds' 0 '/Users/bob/Documents/Letter.txt' locate 'Letter.t'
    check 'locate finds by a glob' 0 '/bin/ls' locate '/bin/l?'
    check 'locate finds nothing' 1 '' locate no-such-name

    check 'killall: nobody of that name' 1 'No matching processes were found' killall nobodythere
    check 'killall: no such signal' 1 usage killall -NONSENSE mDNSResponder
    check 'killall may not signal a process of root' 1 'not permitted' setpriv_ann killall -HUP mDNSResponder
    size=$(wc -l </var/log/system.log)
    check 'killall -HUP mDNSResponder' 0 '' killall -HUP mDNSResponder
    for text in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
        (( $(wc -l </var/log/system.log) == size )) || break
        sleep 0.1
    done
    check 'mDNSResponder notes the flush' 0 'cache flushed' tail -n 1 /var/log/system.log
    check 'mDNSResponder goes on' 0 '' kill -0 "$(cat /var/run/mDNSResponder.pid)"
    check 'mDNSResponder does not spin when its sleep is killed' 0 '' bash -c '
        killall sleep; sleep 0.5; ticks() { cut -d " " -f 14 "/proc/$(cat /var/run/mDNSResponder.pid)/stat"; }
        before=$(ticks); sleep 0.5; (( $(ticks) - before < 20 ))'
    check 'killall ends a program by name' 0 '' bash -c '
        sleep 77 & until [[ $(cat "/proc/$!/comm") == sleep ]]; do :; done; killall sleep; wait $!; [[ $? == 143 ]]'

    # Its answers are those of the real one, see Tests/Darwin/xargs-test.
    check_xargs() { # NAME INPUT STATUS OUTPUT OPTION...
        local output status=0
        # shellcheck disable=SC2059 # the input is a format
        output=$(printf -- "$2" | xargs "${@:5}" 2>&1; status=$?; echo .; exit $status) || status=$?
        if [[ $status == "$3" && ${output%.} == "$4" ]]; then printf 'ok xargs: %s\n' "$1"
        else printf 'FAIL xargs: %s: status %s, output %s\n' "$1" "$status" "${output//$'\n'/ | }"; fi
    }
    local replacing=(-I F printf '[%s]' F) most
    check_xargs 'blanks and tabs become one blank' '/a b  c\td\n' 0 '[/a b c d]' "${replacing[@]}"
    check_xargs 'blanks around are dropped' ' \t/a \t\n/b\t\n' 0 '[/a][/b]' "${replacing[@]}"
    check_xargs 'a blank at the end joins the next line' '/a \n\n/b\n/c\n' 0 '[/a /b][/c]' "${replacing[@]}"
    check_xargs 'a tab at the end does not' '/a \t\n/b\n' 0 '[/a][/b]' "${replacing[@]}"
    check_xargs 'an escaped blank after a blank does' '/a \\ \n/b\n' 0 '[/a   /b]' "${replacing[@]}"
    check_xargs 'an escaped blank does not' '/a\\ \n/b \n\\ \n/c' 0 '[/a ][/b  ][/c]' "${replacing[@]}"
    check_xargs 'empty lines are none' '\n\n/a\n\n/b' 0 '[/a][/b]' "${replacing[@]}"
    check_xargs 'a line of a tab is one' '/a\n\t\n' 0 '[/a][]' "${replacing[@]}"
    check_xargs 'without input nothing is run' '' 0 '' "${replacing[@]}"
    check_xargs 'nor without -I' ' \n' 0 '' echo run
    check_xargs 'quotes' "'a  b'c \"it's\"\n" 0 "[a  bc it's]" "${replacing[@]}"
    check_xargs 'backslashes' '\\\\d\\"\\ e "\\"\n' 0 '[\d" e \]' "${replacing[@]}"
    check_xargs 'quoted words may be empty' '/a "" b ""' 0 '</a><><b><>' printf '<%s>'
    check_xargs 'a newline is escaped by a backslash' '/a\\\n/b\n' 0 $'[/a\n/b]' "${replacing[@]}"
    check_xargs 'an unpaired quote is the end' "/a\n/it's\n/b\n" 1 $'[/a]xargs: unterminated quote\n' "${replacing[@]}"
    check_xargs 'an unpaired quote at the end of the file, too' '/a\n/b"' 1 $'[/a]xargs: unterminated quote\n' "${replacing[@]}"
    check_xargs 'but for one that stands alone there' '/a\n"' 0 '[/a]' "${replacing[@]}"
    check_xargs 'without -I it keeps all from being run' '/a\n/"b\n' 1 $'xargs: unterminated quote\n' printf '[%s]'
    # shellcheck disable=SC1003
    check_xargs 'a backslash at the end' '/a\n/b\\' 1 $'[/a]xargs: backslash at EOF\n' "${replacing[@]}"
    most=$(printf '%0253d' 0)
    check_xargs 'as many as 254 bytes are put in' "/$most\n" 0 "[/$most]" "${replacing[@]}"
    check_xargs 'with one more the word stays' "/0$most\n/b\n" 0 '[F][/b]' "${replacing[@]}"
    check_xargs 'what stands around counts' "$most\n" 0 "[x$most][xFy][xFF]" -I F printf '[%s]' xF xFy xFF
    check_xargs 'a word of the command is cut there' '/a\n' 0 "[F${most}]" -I F printf '[%s]' "F${most}00"
    check_xargs 'a word of 255 bytes is copied' '\t\n' 0 "[F$most][$most]" -I F printf '[%s]' "F${most}0" "F$most"
    check_xargs 'each place as long as there is room' "${most:126}\n" 0 "[${most:126}${most:126}][0${most:126}F]" \
        -I F printf '[%s]' FF 0FF
    check_xargs 'five words are replaced' 'a b\n' 0 '[a b][x][a b][a b][a b][a b][F]' -I F printf '[%s]' F x F F F F F
    check_xargs 'the utility is not' 'echo\n' 127 $'xargs: F: No such file or directory\n' -I F F
    check_xargs '-0 takes all as it is' '/a  "b\n\0\0\\c' 0 $'[/a  "b\n][][\\c]' -0 "${replacing[@]}"
    check_xargs '-0 without -I drops empty words' '/a  \0\0b\0' 0 '[/a  ][b]' -0 printf '[%s]'
    check_xargs 'words of all lines in one command' '/a b\n/c\n' 0 '</a b /c>' bash -c 'printf "<%s>" "$*"' x
    check_xargs 'at most 5000' "$(printf '%s ' {1..5001})" 0 $'5000\n1\n' bash -c 'echo $#' x
    check_xargs 'of a mebibyte with the environment' "$(printf "%04d$most$most$most$most " {1..2000})" 0 \
        $'1026 0001\n974 1027\n' bash -c 'echo "$# ${1:0:4}"' x
    check_xargs 'a word that is too long' "$(printf '%01050000d' 0)" 1 $'xargs: insufficient space for argument\n' echo
    check_xargs 'a command that fails is passed over' '/a\n/b\n' 1 '/a./b.' -I F bash -c 'printf F.; exit 3'
    check_xargs 'a command that ends with 255 is the end' '/a\n/b\n' 1 $'/a.xargs: bash: exited with status 255; aborting\n' \
        -I F bash -c 'printf F.; exit 255'
    check_xargs 'a signal is the end' '/a\n/b\n' 1 $'/a.xargs: bash: terminated with signal 9; aborting\n' \
        -I F bash -c 'printf F.; kill -9 $$'
    check_xargs 'status 137 is no signal' '/a\n/b\n' 1 '/a./b.' -I F bash -c 'printf F.; exit 137'
    check_xargs 'a utility that is not there' '/a\n/b\n' 127 $'xargs: none: No such file or directory\n' none
    check_xargs 'a utility that cannot be run' '/a\n/b\n' 126 $'xargs: /usr: Permission denied\n' -I F /usr
    check_xargs 'the commands read nothing' "/a\\n$(printf '%0100000d' 0)\n" 0 '' -I F cat
    check_xargs '-I wants a string' '/a\n' 1 $'xargs: replstr may not be empty\n' -I '' echo
    check_xargs 'other options are refused' '/a\n' 1 $'xargs: the stage\'s knows the options -0 and -I STRING\n' -n 1 echo

    check 'sudo as root' 0 'uid=0' sudo -- id
    check 'sudo resets the environment' 0 '' silent bash -c 'EVIL=1 sudo env | grep EVIL'
    check 'sudo passes the status on' 6 '' sudo bash -c 'exit 6'
    check 'sudo refuses others' 1 'only root' setpriv_ann sudo id

    local lsregister=/System/Library/Frameworks/CoreServices.framework/Frameworks/LaunchServices.framework/Support/lsregister
    check 'lsregister -dump' 0 /Applications/Player.app "$lsregister" -dump
    check 'lsregister -kill -r reports what is no application' 0 '-10811' "$lsregister" -kill -r -domain local -domain user
    check 'lsregister has dropped it' 0 '' bash -c "! $lsregister -dump | grep -q Player"
    check 'lsregister has kept the others' 0 /Applications/Editor.app "$lsregister" -dump
    check 'lsregister: an unknown domain' 1 'unknown domain' "$lsregister" -r -domain mars
    check 'lsregister: an unknown domain among others' 1 'unknown domain mars' "$lsregister" -r -all local,mars
    check 'lsregister -all registers the applications of the domains' 0 $'registered /System/Library/CoreServices/Dock.app\nregistered /System/Library/CoreServices/Finder.app' \
        setpriv_ann "$lsregister" -kill -v -f -r -all local,system,user
    check 'lsregister writes error -10811 to the errors' 0 'lsregister: error -10811 (not an application): /Applications/Half Removed.app' \
        setpriv_ann bash -c "$lsregister -r -all local 2>&1 >/dev/null"
    check 'lsregister: a user has a register of their own' 0 'Editor.app' cat /var/folders/zz/stage_ann/C/com.apple.LaunchServices.register
    check 'lsregister: the register of the system is not of it' 1 '' grep -q CoreServices /var/db/lsd/register

    check 'osascript runs the statements in order' 0 '' setpriv_ann osascript -e $'quit application "Finder"\ndelay 0\nactivate application "Finder"'
    check 'osascript has noted them' 0 $'quit application "Finder"\ndelay 0\nactivate application "Finder"' sed 's/^.*]: ann: //' /var/log/osascript.log
    check 'osascript joins lines' 0 '' osascript -e 'quit application "Dock"' -e 'tell application "System Events" to restart'
    check 'osascript notes who it was' 0 'root: tell application "System Events" to restart' tail -n 1 /var/log/osascript.log
    check 'osascript: an application that is not there' 1 "Can't get application \"Dook\". (-1728)" osascript -e 'quit application "Dook"'
    check 'osascript: another statement' 1 'syntax error' osascript -e 'quit application "Dock"' -e 'say "hello"'
    check 'osascript does nothing of a script that it does not understand' 0 restart tail -n 1 /var/log/osascript.log
    check 'osascript: no script' 1 usage osascript file.scpt
    check 'osascript: -e without a script' 1 'requires an argument' osascript -e

    check 'networksetup lists the services' 0 '(Hardware Port: Wi-Fi, Device: en1)' networksetup -listnetworkserviceorder
    check 'networksetup: the power is on' 0 'Wi-Fi Power (en1): On' networksetup -getairportpower en1
    check 'networksetup switches it off' 0 '' setpriv_ann networksetup -setairportpower en1 off
    check 'networksetup: the power is off' 0 'Wi-Fi Power (en1): Off' networksetup -getairportpower en1
    check 'networksetup keeps each switch' 0 $'on\noff' cat /var/db/airport
    check 'networksetup: no Wi-Fi device' 10 'en0 is not a Wi-Fi interface.' networksetup -setairportpower en0 on
    check 'networksetup: no device at all' 4 'not valid' networksetup -setairportpower on
    check 'networksetup: neither on nor off' 4 'not a valid power state' networksetup -setairportpower en1 dim
    check 'networksetup: an unknown command' 4 usage networksetup -setdhcp Wi-Fi

    check 'sqlite3: a vacuum makes the mail index smaller' 0 '' bash -c '
        cd "/Users/ann/Library/Mail/V5/MailData"; before=$(stat -c %s "Envelope Index")
        /usr/bin/sqlite3 "Envelope Index" vacuum; (( $(stat -c %s "Envelope Index") < before ))'
    check 'the damaged list outside of preferences is there' 1 'EOF' plutil '/Users/ann/Library/Application Support/Editor/Session.plist'
    check 'sh knows [ -a ]' 0 '' sh -c '[ -a /etc/passwd ]'
    printf 'end\n'
}
setpriv_ann() { /stage/bin/setpriv --reuid 501 --regid 20 --clear-groups env HOME=/Users/ann "$@"; }

test_programs() {
    local line=
    while IFS= read -r line; do
        case $line in
            'ok '*) ok "${line#ok }" ;;
            end) break ;;
            *) fail "${line#FAIL }" ;;
        esac
    done < <(on_stage -- /bin/bash -c "$(declare -f programs_on_stage setpriv_ann); programs_on_stage" 2>&1)
    equal 'the checks of the programs ran to their end' end "$line"
    equal "GNU's xargs on demand" '[a  b][c]' \
        "$(on_stage --xargs gnu -- /bin/sh -c 'printf "a  b\nc\n" | xargs -I F printf "[%s]" F')"
}

case $("$stage" status 2>&1) in
    *'mode: mount'*) ;;
    *) printf 'the self test needs the mount mode of the stage: %s\n' "$("$stage" status 2>&1)"; exit 77 ;;
esac
if (( EUID != 0 )); then
    printf 'the self test needs root\n'
    exit 77
fi
for topic; do
    [[ $(type -t "test_$topic") == function ]] || { printf 'there is no topic %s\n' "$topic"; exit 64; }
    "test_$topic"
done
if (( failures )); then printf '%s checks failed\n' "$failures"; exit 1; fi
printf 'all checks passed\n'

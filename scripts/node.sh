# For scripts at the top, which source it and stand there: the release build, and a node of their own.
build=build/release
java=${JAVA_HOME:+$JAVA_HOME/bin/}java

# quietly MESSAGE COMMAND...: what the command says is shown only if it fails, and then the message.
quietly() {
    local log
    log=$(mktemp)
    if ! "${@:2}" > "$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "${0##*/}: $1" >&2
        return 1
    fi
    rm -f "$log"
}

# Configures once, then builds what has changed.
buildTargets() {
    echo "Building ..." >&2
    quietly "the build failed" configureAndBuild "$@"
}

configureAndBuild() {
    cmake --preset release && cmake --build --preset release --target "$@"
}

# maven ARGUMENT...: without the network once it has what it needs.
maven() {
    mvn -q -B -o -f hadoop "$@" || mvn -q -B -f hadoop "$@"
}

# A directory $scratch that is removed at the end, an empty wallet there, and the sandbox's command,
# $ovwallet, for the processes of the node to find.
makeNode() {
    ovwallet=$PWD/$build/sandbox/base/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet
    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
    export OVWALLET_SANDBOX_HOME="$scratch/wallet"
    ln -s "$ovwallet" "$scratch/ovwallet"
}

# onNode COMMAND...: for this one process "/usr/bin/ovwallet" is the sandbox's command; the machine is
# left alone.
onNode() {
    LD_PRELOAD="$PWD/$build/tests/java/redirect.so" \
        SHIM_COMMAND="$scratch/ovwallet" SHIM_RPM="$scratch/no-packages" "$@"
}

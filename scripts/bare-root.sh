# To be sourced: a minimal Debian 12 in a folder, to try things where nothing else is. What Debian's
# servers gave stays in build/bare, so that later roots need no network.
bare_cache=$PWD/build/bare

# bare_root_missing: prints why this machine can't make one, if so.
bare_root_missing() {
    [ "$(id -u)" = 0 ] || { echo "only root can make a root of its own"; return; }
    command -v mmdebstrap >/dev/null || { echo "mmdebstrap is not installed"; return; }
    unshare --mount --pid --fork true 2>/dev/null || { echo "no namespaces of its own"; return; }
    mkdir -p "$bare_cache/archives/partial"
    [ ! -f "$bare_cache/root.tar" ] || return 0
    # The lists of packages stay in it.
    mmdebstrap --variant=minbase --skip=cleanup/apt/lists bookworm "$bare_cache/new.tar" \
        >"$bare_cache/log" 2>&1 || { echo "mmdebstrap failed: $(tail -n 1 "$bare_cache/log")"; return; }
    mv "$bare_cache/new.tar" "$bare_cache/root.tar"
}

# bare_root_make FOLDER: makes it there. It trusts whom this machine trusts, for a proxy may have a
# certificate of its own.
bare_root_make() {
    mkdir -p "$1"
    tar -C "$1" -xpf "$bare_cache/root.tar"
    cp /etc/resolv.conf "$1/etc/resolv.conf"
    cp -r /usr/local/share/ca-certificates "$1/usr/local/share/" 2>/dev/null || true
}

# bare_root_run FOLDER COMMANDS: runs shell commands in it, with processes and mounts of their own,
# which end with them.
bare_root_run() {
    unshare --mount --pid --fork --kill-child --mount-proc="$1/proc" sh -c '
        mount --rbind /dev "$1/dev"
        mount --bind "$3" "$1/var/cache/apt/archives"
        exec env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
            NODE_EXTRA_CA_CERTS=/etc/ssl/certs/ca-certificates.crt \
            DEBIAN_FRONTEND=noninteractive chroot "$1" sh -ec "$2"' - "$1" "$2" "$bare_cache/archives"
}

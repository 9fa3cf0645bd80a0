# Free-port picking for the fixture scripts, sourced by mailservers.sh and tlsservers.sh. The
# caller sets FIND_FREE (1: look past a taken port) and PORT_OWNER (the name its messages use).

port_open() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# Ports handed out by this start: not yet listening, but no longer free either.
PICKED=" "
# Sets PORT to the asked port or, with FIND_FREE=1, to the first free one of the next 50 that this
# start has not handed out yet; fails, naming the asked port, when there is none.
pick_port() {
  local port="$1" n
  for n in $(seq 0 49); do
    if ! port_open $((port + n)) && [[ "$PICKED" != *" $((port + n)) "* ]]; then
      PICKED+="$((port + n)) "
      PORT=$((port + n))
      return 0
    fi
    [ "$FIND_FREE" = 1 ] || break
  done
  echo "$PORT_OWNER: port $port is taken by another program" >&2
  return 1
}

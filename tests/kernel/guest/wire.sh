# What travels: each transaction opens its way through the muxes and closes it, also through a kernel adapter.

start_service
# The first line is the service's answer; from then on everything is seen.
"$bin/smbusctl" --control $PL_SMBUS_SOCKET.control --json follow --bus stub >/tmp/traffic &
follower=$!
wait_for 10 [ -s /tmp/traffic ]

# wires COUNT: of so many operations, in order.
wires() {
   wait_for 10 awk -v want=$(($1 + 1)) 'END { exit NR < want }' /tmp/traffic
   sed -n 's/^.*"wire":"\([^"]*\)".*$/\1/p' /tmp/traffic
}

stub=$(adapter "$stub_name")
i2cset "$stub" 0x22 0x05 0xa6
raw deep-raw read-byte 5 >/dev/null
check "the way through two muxes is opened and closed" "S 70 W A 80 A P
S 71 W A 02 A P
S 22 W A 05 A Sr 22 R A A6 N P
S 71 W A 00 A P
S 70 W A 00 A P" "$(wires 5)"

kill $follower
stop_service

# Adapters that go and come while the service uses them: nothing waits for the service, and no other adapter is used
# in the place of one that went.

# Commands that go on for as long as the file /tmp/traffic-runs is there.
traffic() {
   while [ -e /tmp/traffic-runs ]; do
      printf 'smbus plain-raw read-byte 1\nsmbus host-rom-raw read-byte 0\n' | on_board >/dev/null
   done
}

# within SECONDS COMMAND...: its exit code, or that it took longer.
within() {
   timeout "$@" >/tmp/within 2>&1
   echo $?
}

host=$(adapter "$host_name")
stub=$(adapter "$stub_name")
host_label=$(cat /sys/bus/i2c/devices/i2c-$host/name)
driver=/sys/bus/pci/drivers/i801_smbus
device=$(basename "$(dirname "$(readlink -f /sys/bus/i2c/devices/i2c-$host)")")
i2cset "$stub" 0x20 1 0x81
i2cset "$host" 0x50 0x10 0x9c

start_service
touch /tmp/traffic-runs
traffic &
runner=$!
wait_for 20 sh -c "'$bin/smbusctl' --control $PL_SMBUS_SOCKET.control counters host | grep -q '[1-9]'"

check "a module is removed while its adapter is used" 0 "$(within 20 rmmod i2c-stub)"
check "a driver is unbound while its adapter is used" 0 "$(within 20 sh -c "echo $device >$driver/unbind")"
check "both adapters are gone" "" "$(ls /sys/bus/i2c/devices)"
rm /tmp/traffic-runs
wait $runner

contains "gone: the stub" "the adapter /dev/i2c-$stub (\"$stub_name\") is gone" "$(raw plain-raw read-byte 1)"
contains "gone: the host controller" "the adapter /dev/i2c-$host (\"$host_label\") is gone" "$(raw host-rom-raw read-byte 10)"

# They come back in the other order, so that each gets the other's number.
echo $device >$driver/bind
wait_for 5 [ -e /sys/bus/i2c/devices/i2c-0 ]
check "the host controller has taken the stub's number" "$stub" "$(adapter "$host_name")"
contains "another adapter of the same number is not used" \
   "the adapter /dev/i2c-$stub (\"$stub_name\") is gone; /dev/i2c-$stub is \"$host_label\" now" "$(raw plain-raw read-byte 1)"
check "the host controller is found again, the first time" "9c" "$(raw host-rom-raw read-byte 10)"
load_stub
i2cset "$(adapter "$stub_name")" 0x20 1 0x42
check "the stub is found again, the first time" "42" "$(raw plain-raw read-byte 1)"
contains "the log tells that it is back" "bus \"stub\": the adapter /dev/i2c-$stub (\"$stub_name\") is back as /dev/i2c-$host" \
   "$(cat /tmp/smbusd.log)"
check "its module can be removed while the service is idle" 0 "$(within 20 rmmod i2c-stub)"
load_stub

stop_service
check "the service ends with 0" 0 $?

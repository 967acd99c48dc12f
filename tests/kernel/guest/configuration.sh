# Adapters by number, by name and by path; and one adapter as two buses.

stub=$(adapter "$stub_name")
host=$(adapter "$host_name")
host_label=$(cat /sys/bus/i2c/devices/i2c-$host/name)
i2cset "$stub" 0x20 1 0x3d
i2cset "$host" 0x50 0x20 0x77
ln -s /dev/i2c-"$stub" /dev/board-bus

# with STUB HOST: a hardware.json with these adapters.
with() {
   sed -e "s|\"adapter\": \"/dev/i2c-0\"|\"adapter\": $1|" -e "s|\"adapter\": \"/dev/i2c-1\"|\"adapter\": $2|" \
      /board/hardware.json >/tmp/with.json
}

for words in "$stub|\"$host_label\"" "\"$stub_name\"|\"/dev/i2c-$host\"" "\"/dev/board-bus\"|\"i2c-$host\""; do
   with "${words%|*}" "${words#*|}"
   start_service /tmp/with.json
   check "the bus of the adapters $words" "3d 77" \
      "$(printf 'smbus plain-raw read-byte 1\nsmbus host-rom-raw read-byte 20\n' | on_board | tr '\n' ' ' | sed 's/ $//')"
   stop_service
done

refused() {
   with "$1" "$2"
   "$bin/smbusd" --config /tmp/with.json --check 2>&1
   echo "exit code $?"
}
contains "one adapter as two buses, in the same words" 'expected an adapter that no other bus has (bus "stub" has it)' \
   "$(refused "$stub" "\"/dev/i2c-$stub\"")"
got=$(refused "\"/dev/board-bus\"" "\"$stub_name\"")
contains "one adapter as two buses, in different words" \
   "expected an adapter that no other bus has (/dev/i2c-$stub (\"$stub_name\") is bus \"stub\" already)" "$got"
contains "that is a wrong configuration" "exit code 2" "$got"

with 77 '"no such adapter"'
start_service /tmp/with.json
contains "a number that no adapter has" "/dev/i2c-77: ENOENT (No such file or directory)" "$(raw plain-raw read-byte 1)"
contains "a name that no adapter has" 'no adapter of the kernel is called "no such adapter"' "$(raw host-rom-raw read-byte 0)"
stop_service
with '"/dev/null"' 1
start_service /tmp/with.json
contains "a file that is no adapter's" "/dev/null: not the device file of an I2C adapter" "$(raw plain-raw read-byte 1)"
stop_service

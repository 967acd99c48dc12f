# What the adapter or its devices refuse: the reason names the request, the place and the cause, and nothing is done.

stub=$(adapter "$stub_name")
stub_adapter="the adapter /dev/i2c-$stub (\"$stub_name\")"
start_service

contains "a device that is not there" \
   'request 1 of 1: read byte at register 0x00 of 0x33 on bus "stub" (I2C accelerator 0 bus 1): ENODEV (No such device)' \
   "$(raw nobody-raw read-byte 0)"
contains "a device that is not there, behind two muxes" \
   'request 3 of 5: receive byte from 0x33 on bus "stub" (I2C accelerator 0 bus 1): ENODEV (No such device)' \
   "$(raw deep-nobody-raw receive)"
contains "a block that the stub does not hold" \
   'block read at register 0x42 of 0x58 on bus "stub" (I2C accelerator 0 bus 1): the adapter refuses it: EOPNOTSUPP (Operation not supported)' \
   "$(raw supply-raw block-read 42)"

# By name, from the adapter's own list of what it can do.
contains "a process call" "$stub_adapter offers no process call" "$(raw supply-raw process-call 42 1234 --yes)"
contains "a block that is too long for SMBus" \
   "$stub_adapter offers no plain I2C messages, which an I2C block of 33 bytes needs" "$(raw rom-raw i2c-read 0 33)"
bytes=$(awk 'BEGIN { for (i = 0; i < 40; i++) printf "aa " }')
before=$(i2cget "$stub" 0x50 0)
contains "a long block that would be written" \
   "$stub_adapter offers no plain I2C messages, which an I2C block of 40 bytes needs" \
   "$(raw rom-raw i2c-write 0 $bytes --yes)"
check "nothing of it was written" "$before" "$(i2cget "$stub" 0x50 0)"
i2cset "$stub" 0x58 0x3c 0x0011 w
contains "a packet error code" "$stub_adapter offers no packet error codes" \
   "$(printf 'set supply-fan2-pec rpm 9000\n' | on_board)"
check "the command without its code was not sent" 0x0011 "$(i2cget "$stub" 0x58 0x3c w)"

# A real controller: nobody acknowledges. A read is repeated, a write is not, as it may have had an effect.
contains "no acknowledge, a read" "no acknowledge: ENXIO (No such device or address)" "$(raw host-nobody-raw read-byte 0)"
got=$(raw host-nobody-raw write-byte 0 1 --yes)
contains "no acknowledge, a write" "no acknowledge: ENXIO (No such device or address)" "$got"
case "$got" in
*repeated*) check "a write is not repeated" "no repeats" "$got" ;;
*) check "a write is not repeated" "" "" ;;
esac
check "operations that failed are counted, and go on working" "errors" \
   "$("$bin/smbusctl" --control $PL_SMBUS_SOCKET.control counters host | grep -o errors | head -n 1)"
stop_service

# An adapter that can do less: only receive and send byte, as the stub with two functions.
rmmod i2c-stub
load_stub 0x00060000
stub=$(adapter "$stub_name")
start_service
contains "a register where only bare bytes go" "$stub_adapter offers no read byte" "$(raw plain-raw read-byte 0)"
contains "a word" "$stub_adapter offers no write word" "$(raw supply-raw write-word 0 1 --yes)"
contains "a block" "$stub_adapter offers no block read" "$(raw supply-raw block-read 9a)"
contains "an I2C block" "$stub_adapter offers no I2C block read" "$(raw rom-raw i2c-read 0 8)"
check "a bare byte goes" "00" "$(raw rom-raw receive)"
stop_service
rmmod i2c-stub
load_stub

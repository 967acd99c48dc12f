# A device that a driver of the kernel uses is left to it, unless the configuration forces its bus.

stub=$(adapter "$stub_name")
rom=/sys/bus/i2c/devices/$stub-0050/eeprom
i2cset "$stub" 0x50 3 0x5c
echo 24c02 0x50 >/sys/bus/i2c/devices/i2c-$stub/new_device
wait_for 5 [ -e "$rom" ]

refusal="the kernel's driver at24 uses the device: EBUSY (Device or resource busy)"
start_service
contains "a read from an EEPROM of the kernel's" "$refusal" "$(raw rom-raw read-byte 3)"
contains "a write" "$refusal" "$(raw rom-raw write-byte 3 11 --yes)"
contains "an I2C block" "$refusal" "$(raw rom-raw i2c-read 0 32)"
contains "a receive byte" "$refusal" "$(raw rom-raw receive)"
check "the kernel's driver reads what was there" "5c" "$(dd if="$rom" bs=1 skip=3 count=1 2>/dev/null | od -An -tx1 | tr -d ' ')"
check "other devices of the bus go on" "" "$(raw plain-raw read-byte 1 | grep -v '^[0-9a-f][0-9a-f]$')"
stop_service

sed 's|"adapter": "/dev/i2c-0"|"adapter": '"$stub"', "force": true|' /board/hardware.json >/tmp/forced.json
start_service /tmp/forced.json
check "forced: read" "5c" "$(raw rom-raw read-byte 3)"
raw rom-raw write-byte 3 a1 --yes
check "forced: what was written the kernel's driver reads" "a1" \
   "$(dd if="$rom" bs=1 skip=3 count=1 2>/dev/null | od -An -tx1 | tr -d ' ')"
stop_service

echo 0x50 >/sys/bus/i2c/devices/i2c-$stub/delete_device
start_service
check "once the driver is gone the device is free" "a1" "$(raw rom-raw read-byte 3)"
stop_service

# The expander, PMBus and mux drivers on kernel adapters, their chips' registers looked at with i2c-tools.

stub=$(adapter "$stub_name")

# What the library is to find: expanders as after power-on but for some inputs, and a supply's readings by hand (PMBus 1.2, LINEAR11 and
# LINEAR16): 230 V as 115 * 2^1, 1.25 A as 5 * 2^-2, 12 V as 6144 * 2^-9, 20.5 A as 41 * 2^-1, 288 W as 288 * 2^0,
# 246 W as 246 * 2^0, 38 degrees as 76 * 2^-1, 8800 rpm as 550 * 2^4.
for expander in 0x20 0x21 0x22; do
   i2cset "$stub" $expander 2 0xff
done
i2cset "$stub" 0x20 1 0x81
i2cset "$stub" 0x21 1 0x80
i2cset "$stub" 0x22 1 0x01
i2cset "$stub" 0x58 0x20 0x17
i2cset "$stub" 0x58 0x88 0x0873 w
i2cset "$stub" 0x58 0x89 0xf005 w
i2cset "$stub" 0x58 0x8b 0x1800 w
i2cset "$stub" 0x58 0x8c 0xf829 w
i2cset "$stub" 0x58 0x97 0x0120 w
i2cset "$stub" 0x58 0x96 0x00f6 w
i2cset "$stub" 0x58 0x8d 0xf84c w
i2cset "$stub" 0x58 0x90 0x2226 w
i2cset "$stub" 0x58 0x81 0x00

start_service
got=$(on_board <<'END'
expect plain-in0 1
expect plain-in7 1
expect behind-in0 0
expect behind-in7 1
expect deep-in0 1
expect deep-in7 0
expect supply vin 230.00
expect supply iin 1.250
expect supply vout 12.000
expect supply iout 20.50
expect supply pin 288.0
expect supply pout 246.0
expect supply powergood 1
expect supply-inlet temperature 38.0
expect supply-fan1 rpm 8800
expect supply-fan1 stalled no
set plain-out0 off
set behind-out7 off
set deep-out0 off
set deep-out7 off
set supply-fan1 rpm 9000
END
)
check "every reading of the board is as its chips were set" "" "$got"

# Bank 0 is made an output and bank 1 an input; the lines start high and the ones that were set off are low.
check "plain: direction of bank 0" 0x00 "$(i2cget "$stub" 0x20 6)"
check "plain: direction of bank 1" 0xff "$(i2cget "$stub" 0x20 7)"
check "plain: line 0 is low" 0xfe "$(i2cget "$stub" 0x20 2)"
check "behind: line 7 is low" 0x7f "$(i2cget "$stub" 0x21 2)"
check "deep: lines 0 and 7 are low" 0x7e "$(i2cget "$stub" 0x22 2)"
check "an expander behind a mux is set up like one on the bus" 0xff "$(i2cget "$stub" 0x22 7)"
# The driver writes the fan's duty cycle as a plain percentage; half of 18000 rpm. It clears faults for powergood.
check "the fan's command" 0x0032 "$(i2cget "$stub" 0x58 0x3b w)"
check "write protection is off" 0x00 "$(i2cget "$stub" 0x58 0x10)"

got=$(
   i2cset "$stub" 0x20 1 0x7e
   i2cset "$stub" 0x58 0x81 0x80
   i2cset "$stub" 0x58 0x79 0x0800 w
   on_board <<'END'
expect plain-in0 0
expect plain-in7 0
set plain-out0 on
expect supply-fan1 stalled yes
END
)
check "what changes on the board is seen" "" "$got"
check "plain: line 0 is high again" 0xff "$(i2cget "$stub" 0x20 2)"

got=$(printf 'expect desk-in0 1\nset desk-out0 off\nexpect desk-out0 0\n' | on_board)
check "an emulated bus beside the real ones" "" "$got"
check "its chip took the write" "0xFE" "$("$bin/smbusctl" --control $PL_SMBUS_SOCKET.control read panel 2 | grep -o 0xFE)"

stop_service
check "the service ends with 0" 0 $?

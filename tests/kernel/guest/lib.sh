# What the checks share. Sourced by init, after it has read /settings.

passed=0
failed=0

# The devices of the stub: expanders on the bus and behind muxes, an EEPROM, a supply, two muxes. The functions that it
# offers are the kernel's own emulation of them and SMBus block transfers besides.
stub_addresses=0x20,0x21,0x22,0x50,0x58,0x70,0x71
stub_functions=0x0f7f0000

stub_name="SMBus stub driver"
host_name="SMBus I801 adapter at"

load_stub() {
   insmod /lib/modules/i2c-stub.ko chip_addr=$stub_addresses functionality="${1:-$stub_functions}"
}

load_modules() {
   for module in $modules; do
      if [ "$module" = i2c-stub ]; then
         load_stub
      else
         insmod "/lib/modules/$module.ko"
      fi
   done
}

# Leaves the machine with the outcome: the byte becomes QEMU's exit code.
end_machine() {
   sync
   if [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]; then outcome='\020'; else outcome='\021'; fi
   printf "$outcome" | dd of=/dev/port bs=1 seek=$((0xf4)) 2>/dev/null
   sleep 10
}

# check NAME EXPECTED GOT
check() {
   if [ "$2" = "$3" ]; then
      passed=$((passed + 1))
   else
      failed=$((failed + 1))
      printf 'FAILED: %s\n  expected: %s\n  got:      %s\n' "$1" "$2" "$3"
   fi
}

# contains NAME EXPECTED GOT: the expected text is somewhere in what came.
contains() {
   case "$3" in
   *"$2"*) check "$1" "" "" ;;
   *) check "$1" "...$2..." "$3" ;;
   esac
}

# The number of the adapter whose name in sysfs begins so.
adapter() {
   for entry in /sys/bus/i2c/devices/i2c-*; do
      case "$(cat "$entry/name")" in
      "$1"*) echo "${entry##*-}" ;;
      esac
   done
}

# wait_for SECONDS COMMAND...: until the command succeeds.
wait_for() {
   tries=$(($1 * 20))
   shift
   until "$@"; do
      tries=$((tries - 1))
      [ $tries -gt 0 ] || return 1
      usleep 50000
   done
}

export PL_SMBUS_SOCKET=/run/smbusd.sock

# The service on a hardware.json, the board's own unless given. Its log is /tmp/smbusd.log.
start_service() {
   "$bin/smbusd" --config "${1:-/board/hardware.json}" --socket $PL_SMBUS_SOCKET 2>/tmp/smbusd.log &
   service=$!
   wait_for 10 [ -S $PL_SMBUS_SOCKET.control ]
}

# Ends the service; its exit code is that of this function.
stop_service() {
   kill $service
   wait $service
}

# What orvan said on standard error, of the library's traces only the reasons of failures.
complaints() {
   sed -n 's/^.*failure in response //p; /^trace /!p' /tmp/orvan.err
}

# Commands for orvan on the board, one a line on standard input; prints what they print, and then every complaint.
on_board() {
   "$bin/orvan" --board /board --trace 3 shell --keep-going 2>/tmp/orvan.err
   complaints
}

# The same for one raw SMBus operation.
raw() {
   "$bin/orvan" --board /board --trace 3 smbus "$@" 2>/tmp/orvan.err
   complaints
}

i2cget() {
   /usr/sbin/i2cget -y "$@" 2>&1
}

i2cset() {
   /usr/sbin/i2cset -y "$@" 2>&1
}

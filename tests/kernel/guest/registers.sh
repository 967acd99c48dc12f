# Every register of a chip through the proxy, byte for byte what i2c-tools show: written with one, read with the other.

stub=$(adapter "$stub_name")
host=$(adapter "$host_name")

# The bytes of a dump, one line, whoever printed it.
dumped() {
   sed -n 's/^[0-9a-f]0: \(.\{47\}\).*/\1/p' | tr '\n' ' '
}

# pattern COMMAND: the 256 bytes i * COMMAND + 13, in hexadecimal.
pattern() {
   awk -v by="$1" 'BEGIN { for (i = 0; i < 256; i++) printf "%02x ", (i * by + 13) % 256 }'
}

# The same as lines of eight bytes, each byte with a prefix.
pattern_block() {
   pattern "$1" | cut -d' ' -f$(($2 + 1))-$(($2 + $3))
}

start_service

# Written with i2c-tools.
i2cset "$stub" 0x50 0x00 0x00
start=0
while [ $start -lt 256 ]; do
   i2cset "$stub" 0x50 $start $(pattern_block 7 $start 32 | sed 's/[0-9a-f]\{2\}/0x&/g') i
   start=$((start + 32))
done
check "i2c-tools wrote the pattern" "$(pattern 7)" "$(/usr/sbin/i2cdump -y "$stub" 0x50 b 2>&1 | dumped)"
check "read byte, 256 registers" "$(pattern 7)" "$(raw rom-raw dump | dumped)"
blocks=$(awk 'BEGIN { for (i = 0; i < 256; i += 32) printf "smbus rom-raw i2c-read %x 32\n", i }' | on_board)
check "I2C block read, 8 of 32 bytes" "$(pattern 7)" "$(echo "$blocks" | tr '\n' ' ')"

# Written through the service, a byte each, a word each, in blocks.
awk 'BEGIN { for (i = 0; i < 256; i++) printf "smbus rom-raw write-byte %x %02x --yes\n", i, (i * 11 + 13) % 256 }' | on_board
check "write byte, 256 registers" "$(pattern 11)" "$(/usr/sbin/i2cdump -y "$stub" 0x50 b 2>&1 | dumped)"

awk 'BEGIN { for (i = 0; i < 256; i++) printf "smbus supply-raw write-word %x %04x --yes\n", i, (i * 4099 + 21) % 65536 }' | on_board
words=$(awk 'BEGIN { for (i = 0; i < 256; i++) printf "%04x ", (i * 4099 + 21) % 65536 }')
check "write word, 256 commands" "$words" \
   "$(/usr/sbin/i2cdump -y "$stub" 0x58 w 2>&1 | sed -n 's/^[0-9a-f][08]: \(.\{39\}\).*/\1/p' | tr '\n' ' ')"
got=$(awk 'BEGIN { for (i = 0; i < 256; i++) printf "smbus supply-raw read-word %x\n", i }' | on_board)
check "read word, 256 commands" "$words" "$(echo "$got" | tr '\n' ' ')"

awk 'BEGIN { for (i = 0; i < 256; i += 32) {
   printf "smbus rom-raw i2c-write %x", i
   for (j = i; j < i + 32; j++) printf " %02x", (j * 29 + 13) % 256
   printf " --yes\n" } }' | on_board
check "I2C block write, 8 of 32 bytes" "$(pattern 29)" "$(/usr/sbin/i2cdump -y "$stub" 0x50 i 2>&1 | dumped)"

# SMBus blocks of the shortest and the longest length.
i2cset "$stub" 0x58 0x99 0x4d s
check "block read of 1 byte" "4d" "$(raw supply-raw block-read 99)"
i2cset "$stub" 0x58 0x9a $(pattern_block 7 0 32 | sed 's/[0-9a-f]\{2\}/0x&/g') s
check "block read of 32 bytes" "$(pattern_block 7 0 32)" "$(raw supply-raw block-read 9a)"
raw supply-raw block-write 9b $(pattern_block 11 64 32) --yes
check "block write of 32 bytes" "$(pattern_block 11 64 32)" \
   "$(i2cget "$stub" 0x58 0x9b s | sed 's/0x//g')"
raw supply-raw block-write 9c 55 --yes
check "block write of 1 byte" "0x55" "$(i2cget "$stub" 0x58 0x9c s)"

# The stub's pointer: a byte that is sent sets it, bytes that are received move it.
check "send byte, then two receive bytes" "$(pattern_block 29 64 2 | tr ' ' '\n')" \
   "$(printf 'smbus rom-raw send 40 --yes\nsmbus rom-raw receive\nsmbus rom-raw receive\n' | on_board)"
i2cset "$stub" 0x50 0x80 c
check "receive byte where i2c-tools left the pointer" "$(pattern_block 29 128 1)" "$(raw rom-raw receive)"

# A host controller of another kind, whose EEPROM QEMU has.
i2cset "$host" 0x50 0x10 0x9c
check "the host controller's EEPROM, read byte" "9c" "$(raw host-rom-raw read-byte 10)"
raw host-rom-raw write-byte 11 3e --yes
check "the host controller's EEPROM, write byte" 0x3e "$(i2cget "$host" 0x50 0x11)"
check "the host controller's EEPROM, read word" "3e9c" "$(raw host-rom-raw read-word 10)"
check "the host controller's EEPROM, all of it" "$(/usr/sbin/i2cdump -y "$host" 0x50 b 2>&1 | dumped)" \
   "$(raw host-rom-raw dump | dumped)"

stop_service
check "the service ends with 0" 0 $?

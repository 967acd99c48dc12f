# What the adapter or its devices refuse: the reason names the request, the place and the cause.

stub=$(adapter "$stub_name")
start_service

contains "a device that is not there" \
   'request 1 of 1: read byte at register 0x00 of 0x33 on bus "stub" (I2C accelerator 0 bus 1): ' "$(raw nobody-raw read-byte 0)"
contains "a device that is not there, behind two muxes" \
   "request 3 of 5: receive byte from 0x33" "$(raw deep-nobody-raw receive)"
contains "a block that the stub does not hold" "block read at register 0x42 of 0x58" "$(raw supply-raw block-read 42)"

stop_service

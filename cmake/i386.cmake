# 32-bit x86 on an amd64 Debian: the amd64 compiler with -m32 and the i386 multiarch libraries.
# CMAKE_SYSTEM_NAME stays unset on purpose: the programs run natively, so nothing is cross-compiled,
# tests run, and the i386-linux-gnu library folders are found.
# SSE arithmetic, because x87 registers would keep excess precision in sensor conversions.
set( CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse" )
set( CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse" )

#include <cstddef>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pl/pl.h>

// Sizes and offsets are those of 32-bit x86, the only machine that driver libraries are built for.

extern "C" {
extern const size_t sizes_in_c[];
extern const size_t size_count_in_c;
pl_status read_fan_in_c( int speed, int *rpm );
}

namespace {

constexpr size_t tableSizes[] = { 8, 8, 12, 16, 24, 36, 44, 36, 16, 56, 20 };

TEST( HostHeaders, TableSizes ) {
    EXPECT_EQ( sizeof( pl_slot_ops ), 8u );
    EXPECT_EQ( sizeof( pl_led_ops ), 8u );
    EXPECT_EQ( sizeof( pl_temp_sensor_ops ), 12u );
    EXPECT_EQ( sizeof( pl_fan_ops ), 16u );
    EXPECT_EQ( sizeof( pl_sfp_ops ), 24u );
    EXPECT_EQ( sizeof( pl_qsfp_ops ), 36u );
    EXPECT_EQ( sizeof( pl_xcvr_ops ), 44u );
    EXPECT_EQ( sizeof( pl_psu_ops ), 36u );
    EXPECT_EQ( sizeof( pl_gpio_ops ), 16u );
    EXPECT_EQ( sizeof( pl_smbus_ops ), 56u );
    EXPECT_EQ( sizeof( pl_system_ops ), 20u );
}

TEST( HostHeaders, TableSizesAreTheSameInC ) {
    const std::vector<size_t> inC( sizes_in_c, sizes_in_c + size_count_in_c );
    EXPECT_THAT( inC, testing::ElementsAreArray( tableSizes ) );
}

TEST( HostHeaders, CallbackThroughARecordInC ) {
    int rpm = 0;
    EXPECT_EQ( read_fan_in_c( 8700, &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 8700 );
}

TEST( HostHeaders, EveryTableStartsWithItsSize ) {
    EXPECT_EQ( offsetof( pl_slot_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_led_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_temp_sensor_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_fan_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_sfp_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_xcvr_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_psu_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_gpio_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_smbus_ops, size ), 0u );
    EXPECT_EQ( offsetof( pl_system_ops, size ), 0u );
}

TEST( HostHeaders, SlotLedAndSensorEntries ) {
    EXPECT_EQ( offsetof( pl_slot_ops, get_presence ), 4u );
    EXPECT_EQ( offsetof( pl_led_ops, set_light_setting ), 4u );
    EXPECT_EQ( offsetof( pl_temp_sensor_ops, reserved ), 4u );
    EXPECT_EQ( offsetof( pl_temp_sensor_ops, get_temperature ), 8u );
}

TEST( HostHeaders, FanEntries ) {
    EXPECT_EQ( offsetof( pl_fan_ops, debug_info ), 4u );
    EXPECT_EQ( offsetof( pl_fan_ops, get_rpm ), 8u );
    EXPECT_EQ( offsetof( pl_fan_ops, set_rpm ), 12u );
}

TEST( HostHeaders, TransceiverTableHead ) {
    EXPECT_EQ( offsetof( pl_xcvr_ops, type ), 4u );
    EXPECT_EQ( offsetof( pl_xcvr_ops, u ), 8u );
    EXPECT_EQ( PL_XCVR_TYPE_SFP, 0 );
    EXPECT_EQ( PL_XCVR_TYPE_QSFP, 1 );
}

TEST( HostHeaders, SfpEntries ) {
    EXPECT_EQ( offsetof( pl_sfp_ops, get_presence ), 4u );
    EXPECT_EQ( offsetof( pl_sfp_ops, get_tx_fault ), 8u );
    EXPECT_EQ( offsetof( pl_sfp_ops, get_rx_los ), 12u );
    EXPECT_EQ( offsetof( pl_sfp_ops, get_tx_disable ), 16u );
    EXPECT_EQ( offsetof( pl_sfp_ops, set_tx_disable ), 20u );
}

TEST( HostHeaders, QsfpEntries ) {
    EXPECT_EQ( offsetof( pl_qsfp_ops, get_presence ), 4u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, get_mod_sel ), 8u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, set_mod_sel ), 12u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, get_lp_mode ), 16u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, set_lp_mode ), 20u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, get_reset ), 24u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, set_reset ), 28u );
    EXPECT_EQ( offsetof( pl_qsfp_ops, get_interrupt ), 32u );
}

TEST( HostHeaders, QsfpTableIsThreeEntriesLonger ) {
    EXPECT_EQ( sizeof( pl_sfp_ops ), offsetof( pl_qsfp_ops, get_reset ) );
    EXPECT_EQ( sizeof( pl_qsfp_ops ) - sizeof( pl_sfp_ops ), 12u );
}

TEST( HostHeaders, SupplyEntries ) {
    EXPECT_EQ( offsetof( pl_psu_ops, reserved ), 4u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_power_ok ), 8u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_input_current ), 12u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_output_current ), 16u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_input_voltage ), 20u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_output_voltage ), 24u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_input_power ), 28u );
    EXPECT_EQ( offsetof( pl_psu_ops, get_output_power ), 32u );
}

TEST( HostHeaders, GpioEntries ) {
    EXPECT_EQ( offsetof( pl_gpio_ops, bit_set ), 4u );
    EXPECT_EQ( offsetof( pl_gpio_ops, bit_clear ), 8u );
    EXPECT_EQ( offsetof( pl_gpio_ops, bit_read ), 12u );
}

TEST( HostHeaders, SmbusEntries ) {
    EXPECT_EQ( offsetof( pl_smbus_ops, quick_command ), 4u );
    EXPECT_EQ( offsetof( pl_smbus_ops, receive_byte ), 8u );
    EXPECT_EQ( offsetof( pl_smbus_ops, send_byte ), 12u );
    EXPECT_EQ( offsetof( pl_smbus_ops, read_byte ), 16u );
    EXPECT_EQ( offsetof( pl_smbus_ops, write_byte ), 20u );
    EXPECT_EQ( offsetof( pl_smbus_ops, read_word ), 24u );
    EXPECT_EQ( offsetof( pl_smbus_ops, write_word ), 28u );
    EXPECT_EQ( offsetof( pl_smbus_ops, block_read ), 32u );
    EXPECT_EQ( offsetof( pl_smbus_ops, block_write ), 36u );
    EXPECT_EQ( offsetof( pl_smbus_ops, i2c_block_read ), 40u );
    EXPECT_EQ( offsetof( pl_smbus_ops, i2c_block_write ), 44u );
    EXPECT_EQ( offsetof( pl_smbus_ops, process_call ), 48u );
    EXPECT_EQ( offsetof( pl_smbus_ops, block_process_call ), 52u );
}

TEST( HostHeaders, SystemEntries ) {
    EXPECT_EQ( offsetof( pl_system_ops, poweroff ), 4u );
    EXPECT_EQ( offsetof( pl_system_ops, powercycle ), 8u );
    EXPECT_EQ( offsetof( pl_system_ops, get_reload_cause ), 12u );
    EXPECT_EQ( offsetof( pl_system_ops, reserved ), 16u );
    EXPECT_EQ( PL_RELOAD_CAUSE_SIZE, 100 );
    EXPECT_EQ( PL_RELOAD_DESCRIPTION_SIZE, 500 );
}

template <class Record>
void expectRecordOfThreeWords() {
    EXPECT_EQ( offsetof( Record, id ), 0u );
    EXPECT_EQ( offsetof( Record, ops ), 4u );
    EXPECT_EQ( offsetof( Record, priv ), 8u );
    EXPECT_EQ( sizeof( Record ), 12u );
}

TEST( HostHeaders, Records ) {
    expectRecordOfThreeWords<pl_slot>();
    expectRecordOfThreeWords<pl_led>();
    expectRecordOfThreeWords<pl_temp_sensor>();
    expectRecordOfThreeWords<pl_fan>();
    expectRecordOfThreeWords<pl_xcvr>();
    expectRecordOfThreeWords<pl_psu>();
    expectRecordOfThreeWords<pl_gpio>();
    expectRecordOfThreeWords<pl_smbus>();
    EXPECT_EQ( offsetof( pl_system, id ), 0u );
    EXPECT_EQ( offsetof( pl_system, ops ), 4u );
    EXPECT_EQ( sizeof( pl_system ), 8u );
}

TEST( HostHeaders, StatusValues ) {
    EXPECT_EQ( PL_STATUS_OK, 0 );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, 1 );
    EXPECT_EQ( PL_STATUS_FAULT, 2 );
    EXPECT_EQ( PL_STATUS_INVALID, 3 );
    EXPECT_EQ( PL_STATUS_TRANSPORT, 4 );
    EXPECT_EQ( PL_STATUS_UNSUPPORTED, 5 );
    EXPECT_EQ( PL_STATUS_FAILED, 6 );
    EXPECT_EQ( sizeof( pl_status ), 4u );
}

TEST( HostHeaders, LedValues ) {
    EXPECT_EQ( PL_LED_STATUS_OFF, 0 );
    EXPECT_EQ( PL_LED_STATUS_GOOD, 1 );
    EXPECT_EQ( PL_LED_STATUS_WARNING, 2 );
    EXPECT_EQ( PL_LED_STATUS_BAD, 3 );
    EXPECT_EQ( PL_LED_STATUS_INACTIVE, 4 );
    EXPECT_EQ( PL_LED_STATUS_UNKNOWN, 5 );
    EXPECT_EQ( PL_LED_STATUS_BEACON, 6 );
    EXPECT_EQ( sizeof( pl_led_status ), 4u );
}

} // namespace

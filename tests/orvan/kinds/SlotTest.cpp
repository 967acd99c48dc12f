#include <cstring>

#include <gtest/gtest.h>
#include <pl/slot.h>

#include "orvan/kinds/Kind.h"

namespace {

/** A slot that answers as the test says, and its description's arguments. */
class SlotKind : public testing::Test {
  protected:
    SlotKind() {
        peripheral_.description = &description_;
        peripheral_.kind = &orvan::slotKind;
        peripheral_.record = &record_;
    }

    /** The readings' names and values as shown: "present 1". */
    std::vector<std::string> shown() {
        calls = 0;
        orvan::Readout readout( peripheral_ );
        std::vector<std::string> lines;
        for ( const orvan::Reading &reading : orvan::slotKind.readings( peripheral_ ) ) {
            lines.push_back( std::string( reading.name ) + " " +
                             orvan::valueText( reading, reading.read( readout ) ) );
        }
        return lines;
    }

    static pl_status answer( pl_slot *, char **fdl ) {
        ++calls;
        if ( status == PL_STATUS_OK && text ) {
            *fdl = strdup( text );
        }
        return status;
    }

    inline static pl_status status = PL_STATUS_OK;
    inline static const char *text = nullptr;
    inline static int calls = 0;

    pl_slot_ops ops_ = { sizeof( pl_slot_ops ), answer };
    pl_slot record_ = { 0, &ops_, nullptr };
    orvan::PeripheralDescription description_;
    orvan::Peripheral peripheral_;
};

using Lines = std::vector<std::string>;

TEST_F( SlotKind, WithoutATemplateTheFieldDataAreShownAsTheyAre ) {
    text = "anything";
    EXPECT_EQ( shown(), ( Lines{ "present 1", "fdl anything" } ) );
    EXPECT_EQ( calls, 1 );
}

TEST_F( SlotKind, FanTraysShowAirflowAndModel ) {
    description_.args = { { "fanFdl", "{airflowDirection};{maxRpm};{modelName}" } };
    text = "F2B;9000;FAN-1";
    EXPECT_EQ( shown(),
               ( Lines{ "present 1", "airflow F2B", "model FAN-1", "fdl F2B;9000;FAN-1" } ) );
    EXPECT_EQ( calls, 1 );
}

TEST_F( SlotKind, SuppliesShowTheModelWhoseTemplateFits ) {
    description_.args = { { "model_1", "DPS-1" },
                          { "psuFdl_1", "one sn={serialNum}" },
                          { "model_2", "DPS-2" },
                          { "psuFdl_2", "two sn={serialNum}" } };
    text = "two sn=A7";
    EXPECT_EQ( shown(), ( Lines{ "present 1", "model DPS-2", "serial A7", "fdl two sn=A7" } ) );
}

TEST_F( SlotKind, ModelThatCannotBeToldIsNotGuessed ) {
    description_.args = { { "model_1", "DPS-1" },
                          { "psuFdl_1", "sn={serialNum}" },
                          { "model_2", "DPS-2" },
                          { "psuFdl_2", "sn={serialNum}" } };
    text = "sn=A7";
    EXPECT_EQ( shown(), ( Lines{ "present 1", "model -", "serial A7", "fdl sn=A7" } ) );
}

TEST_F( SlotKind, FieldDataOfAnotherFormAreStillShown ) {
    description_.args = { { "fanFdl", "{airflowDirection};{maxRpm};{modelName}" } };
    text = "something else";
    EXPECT_EQ( shown(), ( Lines{ "present 1", "airflow -", "model -", "fdl something else" } ) );
}

TEST_F( SlotKind, EmptySlotsHaveNoFieldData ) {
    description_.args = { { "fanFdl", "{airflowDirection};{maxRpm};{modelName}" } };
    status = PL_STATUS_NOT_PRESENT;
    EXPECT_EQ( shown(), ( Lines{ "present 0", "airflow -", "model -", "fdl -" } ) );
}

TEST_F( SlotKind, FailuresAreShownInEveryReading ) {
    description_.args = { { "psuFdl_1", "sn={serialNum}" } };
    status = PL_STATUS_TRANSPORT;
    EXPECT_EQ( shown(), ( Lines{ "present transport", "model transport", "serial transport",
                                 "fdl transport" } ) );
}

} // namespace

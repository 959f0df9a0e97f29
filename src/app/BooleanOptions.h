#pragma once

// A choice that the command line may leave to the rules.
enum BooleanOptions : unsigned int {
    OPTION_OFF = 0,
    OPTION_ON = 1,
    OPTION_UNSET = 0xFFFFFFFFU,
};

#pragma once

#include <random>
#include <vector>

#include "chipsim/FaultRule.h"

// Injects faults into replies, by rule. The command itself has been executed by then: a fault is
// one of the line, not of the memory. Several rules for one command apply in the order given. The
// same rules, seed and commands give the same faults.
//
// Not synchronised: one thread at a time.
class CFaultPlan {
public:
    CFaultPlan(std::vector<FAULT_RULE> rules, unsigned int seed);

    // Changes the reply and adds the rules that applied to command.faults.
    void Apply(CHIP_COMMAND& command, CHIP_REPLY& reply);

private:
    using BYTES = std::vector<unsigned char>;
    struct COUNTED_RULE {
        FAULT_RULE rule;
        unsigned int seen = 0;  // commands of its kind
    };

    bool Applies(COUNTED_RULE& counted, ChipCommandKinds kind);
    void ChangeReply(const FAULT_RULE& rule, const CHIP_COMMAND& command, CHIP_REPLY& reply);
    void ChangeBytes(const FAULT_RULE& rule, const CHIP_COMMAND& command, BYTES& bytes);
    BYTES Noise(std::size_t count);

    std::vector<COUNTED_RULE> m_Rules;
    std::mt19937 m_Random;
    bool m_bSilent = false;
};

#include "chipsim/FaultPlan.h"

#include <algorithm>
#include <utility>

#include "chipsim/PacketFramer.h"

namespace {

using BYTES = std::vector<unsigned char>;

constexpr unsigned int MILLION = 1'000'000;
constexpr std::size_t RETURN_PARAMETERS = 7;  // their offset in a Command Complete event

// Packets that a chip may send at any time: HCI Command Status for no command, and NCI
// CORE_GENERIC_ERROR_NTF.
const BYTES HCI_EVENT = {0x04, 0x0F, 0x04, 0x00, 0x01, 0x00, 0x00};
const BYTES NCI_NOTIFICATION = {0x10, 0x60, 0x07, 0x01, 0x00};

bool IsNci(const CHIP_COMMAND& command) {
    return !command.packet.empty() && command.packet.front() == CPacketFramer::NCI_INDICATOR;
}

void Invert(BYTES& bytes, std::size_t at, unsigned int mask) {
    if (at < bytes.size()) {
        bytes[at] = static_cast<unsigned char>(bytes[at] ^ mask);
    }
}

void PutBefore(CHIP_REPLY& reply, const BYTES& bytes) {
    BYTES& first = reply.pieces.front().bytes;
    first.insert(first.begin(), bytes.begin(), bytes.end());
}

void PutAfter(CHIP_REPLY& reply, const BYTES& bytes) {
    BYTES& last = reply.pieces.back().bytes;
    last.insert(last.end(), bytes.begin(), bytes.end());
}

void Split(CHIP_REPLY& reply, std::size_t count, unsigned int pauseMs) {
    const CHIP_REPLY_PIECE whole = std::move(reply.pieces.back());
    reply.pieces.pop_back();
    count = std::clamp<std::size_t>(count, 1, std::max<std::size_t>(whole.bytes.size(), 1));
    for (std::size_t i = 0; i < count; ++i) {
        const auto begin = static_cast<std::ptrdiff_t>(whole.bytes.size() * i / count);
        const auto end = static_cast<std::ptrdiff_t>(whole.bytes.size() * (i + 1) / count);
        reply.pieces.push_back({i == 0 ? whole.delayMs : pauseMs,
                                {whole.bytes.begin() + begin, whole.bytes.begin() + end}});
    }
}

void KeepFirstBytes(CHIP_REPLY& reply, std::size_t count) {
    for (CHIP_REPLY_PIECE& piece : reply.pieces) {
        piece.bytes.resize(std::min(piece.bytes.size(), count));
        count -= piece.bytes.size();
    }
}

}  // namespace

CFaultPlan::CFaultPlan(std::vector<FAULT_RULE> rules, unsigned int seed) : m_Random(seed) {
    for (FAULT_RULE& rule : rules) {
        m_Rules.push_back({std::move(rule)});
    }
}

void CFaultPlan::Apply(CHIP_COMMAND& command, CHIP_REPLY& reply) {
    for (COUNTED_RULE& counted : m_Rules) {
        if (!Applies(counted, command.kind)) {
            continue;
        }
        command.faults.push_back(counted.rule.text);
        if (!reply.pieces.empty() || counted.rule.fault == FAULT_SLOW) {
            ChangeReply(counted.rule, command, reply);
        }
    }
    if (m_bSilent) {
        reply.pieces.clear();
    }
}

bool CFaultPlan::Applies(COUNTED_RULE& counted, ChipCommandKinds kind) {
    const FAULT_RULE& rule = counted.rule;
    // "any" means any command; the notification is none.
    if (rule.kind ? *rule.kind != kind : kind == CHIP_RESET_NTF) {
        return false;
    }
    ++counted.seen;
    if (rule.chance) {
        return m_Random() % MILLION < *rule.chance;
    }
    return counted.seen >= rule.first && counted.seen <= rule.last;
}

void CFaultPlan::ChangeReply(const FAULT_RULE& rule, const CHIP_COMMAND& command,
                             CHIP_REPLY& reply) {
    const unsigned int value = rule.values[0];
    switch (rule.fault) {
        case FAULT_DROP:
            reply.pieces.clear();
            return;
        case FAULT_SILENCE:
            m_bSilent = true;
            return;
        case FAULT_LATE:
            reply.pieces.front().delayMs += value;
            return;
        case FAULT_PIECES:
            Split(reply, value, rule.values[1]);
            return;
        case FAULT_TWICE:
            reply.pieces.push_back({0, reply.pieces.back().bytes});
            return;
        case FAULT_EVENT:
            for (unsigned int i = 0; i < value; ++i) {
                PutBefore(reply, IsNci(command) ? NCI_NOTIFICATION : HCI_EVENT);
            }
            return;
        case FAULT_NOISE_BEFORE:
            PutBefore(reply, Noise(value));
            return;
        case FAULT_NOISE_AFTER:
            PutAfter(reply, Noise(value));
            return;
        case FAULT_HANGUP:
            KeepFirstBytes(reply, value);
            reply.hangsUp = true;
            return;
        case FAULT_SLOW:
            reply.readPauseMs = value;
            return;
        default:
            ChangeBytes(rule, command, reply.pieces.back().bytes);
    }
}

// The faults that change the last packet, the one that answers the command.
void CFaultPlan::ChangeBytes(const FAULT_RULE& rule, const CHIP_COMMAND& command, BYTES& bytes) {
    const unsigned int value = rule.values[0];
    const bool isGiven = value != FAULT_RULE::NOT_GIVEN;
    const std::size_t statusAt = IsNci(command) ? 4 : 6;
    switch (rule.fault) {
        case FAULT_FLIP:
            if (!bytes.empty()) {
                const std::size_t bit = (isGiven ? value : m_Random()) % (bytes.size() * 8);
                Invert(bytes, bit / 8, 1U << (bit % 8));
            }
            return;
        case FAULT_STATUS:
            if (statusAt < bytes.size()) {
                bytes[statusAt] = static_cast<unsigned char>(value);
            }
            return;
        case FAULT_CUT:
            bytes.resize(std::min<std::size_t>(bytes.size(), isGiven ? value : bytes.size() / 2));
            return;
        case FAULT_BADDATA:
            if (command.kind == CHIP_READ && bytes.size() > RETURN_PARAMETERS) {
                Invert(bytes, std::min(RETURN_PARAMETERS + value, bytes.size() - 1), 0xFF);
            }
            return;
        case FAULT_BADCRC:
            if (command.kind == CHIP_CRC) {
                Invert(bytes, RETURN_PARAMETERS, 0x01);
            }
            return;
        default:
            return;
    }
}

CFaultPlan::BYTES CFaultPlan::Noise(std::size_t count) {
    BYTES noise(count);
    std::generate(noise.begin(), noise.end(),
                  [&] { return static_cast<unsigned char>(m_Random() & 0xFF); });
    return noise;
}

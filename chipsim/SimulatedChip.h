#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "chipsim/ChipEngine.h"
#include "chipsim/PacedInput.h"
#include "chipsim/PacedOutput.h"
#include "chipsim/PortLink.h"
#include "chipsim/PseudoTerminal.h"

// A chip on a pseudo-terminal, run by a thread of its own from Start to Stop.
//
// Start, Stop and the destructor belong to one thread. Everything else may be called from any
// thread at any time and gives copies.
class CSimulatedChip {
public:
    explicit CSimulatedChip(const CHIP_SETTINGS& settings = {});
    CSimulatedChip(const CSimulatedChip&) = delete;
    CSimulatedChip& operator=(const CSimulatedChip&) = delete;
    ~CSimulatedChip();

    // Opens the port and starts the chip, once in the object's life. linkPath, when not empty, is
    // a second name for the port, such as /dev/ttySIM0; it goes at Stop or when the port hangs up.
    // The observer is called on the chip's thread for each command, with the chip locked: it calls
    // nothing here. The error text, empty on success.
    std::string Start(const std::string& linkPath = {},
                      std::function<void(const CHIP_COMMAND&)> observer = {});

    // Ends the thread and closes the port. Memory and logs stay.
    void Stop();

    // What a user of the chip opens: the link when there is one. Valid from Start on.
    std::string PortPath() const;

    // Whether the chip itself closed the port.
    bool HasHungUp() const { return m_bHungUp; }

    std::vector<unsigned char> ReadMemory(std::uint32_t address, std::size_t count) const;
    void WriteMemory(std::uint32_t address, std::span<const unsigned char> bytes);
    std::vector<CSparseMemory::REGION> WrittenRegions() const;
    std::string MemoryAsIntelHex() const;

    std::vector<CHIP_COMMAND> Commands() const;
    std::vector<unsigned char> ReceivedBytes() const;

    std::vector<CHIP_RECORD> Records() const;

    // Waits until so many commands were carried out; false when the time is up first.
    bool WaitForCommands(std::size_t count, unsigned int timeoutMs) const;

private:
    void Run();
    void TakeInput(LineTime now);
    void GiveUpCutPacket(LineTime now);
    void WriteOutput(LineTime now);
    void HangUp();
    void WaitForWork();
    std::optional<LineTime> NextDue(LineTime now) const;
    void WakeUp();

    const CHIP_SETTINGS m_Settings;
    CPseudoTerminal m_Terminal;
    CPortLink m_Link;
    CFileDescriptor m_Wake;
    std::thread m_Thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bHungUp{false};

    // The chip's thread only.
    CPacedInput m_Input;
    CPacedOutput m_Output;
    LineTime m_nLastInput = 0;
    bool m_bTerminalFull = false;

    mutable std::mutex m_Mutex;  // guards the engine
    mutable std::condition_variable m_CommandSeen;
    CChipEngine m_Engine;
};

#pragma once

// An event to wait for. Any thread may call any operation.
class CSynchronizationEvent {
public:
    CSynchronizationEvent() = default;
    CSynchronizationEvent(const CSynchronizationEvent&) = delete;
    CSynchronizationEvent& operator=(const CSynchronizationEvent&) = delete;
    virtual ~CSynchronizationEvent() = default;

    // Waits at most timeoutMs milliseconds (0x7FFFFFFF = no limit). True when woken by a signal,
    // false when the time is up or the wait fails.
    virtual bool WaitForSignal(unsigned int timeoutMs) = 0;
    virtual void SetEvent() = 0;
};

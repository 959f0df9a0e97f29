#pragma once

#include <vector>

#include "transport/CapturedItem.h"

// btsnoop, version 1: HCI packets and nothing else, times in microseconds.

std::vector<unsigned char> MakeBtsnoopBeginning();

// Empty for what is no HCI packet.
std::vector<unsigned char> MakeBtsnoopRecord(const CAPTURED_ITEM& item);

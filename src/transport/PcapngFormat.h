#pragma once

#include <string>
#include <vector>

#include "transport/CapturedItem.h"

// pcapng (the IETF draft "PCAP Now Generic"), little-endian. Interface 0 holds the HCI packets,
// interface 1 all other bytes and, as empty packets with a comment, the notes.

// How the file begins. program: name and version; port names the interfaces.
std::vector<unsigned char> MakePcapngBeginning(const std::string& program, const std::string& port);

std::vector<unsigned char> MakePcapngBlock(const CAPTURED_ITEM& item);

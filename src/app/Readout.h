#pragma once

#include <string>

struct CRequest;

// Runs that read the chip's memory: "--read AREAS FILE" or "--crc AREAS", then options of a
// standard download. AREAS is FIRST-LAST[,FIRST-LAST]..., both addresses included.

bool AsksForReadout(int argc, char** argv);

// Reads such a command line and makes sure that the file can be written. Returns an error text,
// empty on success.
[[nodiscard]] std::string ReadReadoutRequest(int argc, char** argv, CRequest& request);

// Writes the file, or prints the CRCs, once everything has been read. Returns an error text, empty
// on success.
[[nodiscard]] std::string DeliverReadout(const CRequest& request);

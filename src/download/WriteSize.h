#pragma once

class CChipImageLoadingInformation;

// Bytes in a record of an image: DLMaxWriteSize, or 32 where the rules give no number. 1 to 251 fit
// a command; nothing checks the range.
unsigned int GetMaxWriteSize(const CChipImageLoadingInformation& info);

#include <gtest/gtest.h>

#include "cdi/make_descriptor.h"

// File systems such as FAT allow names of more than 255 bytes in UTF-8. The length field has one byte.
TEST(MakeDescriptor, NameOf256BytesIsCutTo255) {
  EXPECT_EQ(cdi::MakeDescriptor(std::string(256, 'n'), "DISC", 300),
            cdi::MakeDescriptor(std::string(255, 'n'), "DISC", 300));
}

#include "tests/support/freed_hives.h"

namespace hivequarry::testing {

BuiltHive HiveWithDeletedKeys() {
  HiveBuilder builder;
  builder.Key("A").Sz("kept", "of A");
  builder.Key("A\\Quick");
  builder.Key("A\\C").Sz("text", "long enough").FreeBehind(64);
  builder.Key("A\\C\\D").FreeBehind(64);
  builder.Key("B");
  builder.Key("B\\Quack").FreeBehind(64);
  BuiltHive hive = builder.Build();
  const uint32_t quack = hive.PositionOf("B\\Quack");
  const uint32_t cells[] = {hive.PositionOf("A\\C"),
                            hive.PositionOf("A\\C\\D"),
                            hive.ValuePosition("A\\C", "text"),
                            hive.DataPosition("A\\C", "text"),
                            hive.ListPosition("A\\C"),
                            hive.ValueListPosition("A\\C"),
                            quack};
  hive.Unlink("A\\C").Unlink("B\\Quack");
  hive.SetU32(quack, 20, 0x00F00000);
  for (const uint32_t cell : cells) hive.Free(cell);
  return hive;
}

}  // namespace hivequarry::testing

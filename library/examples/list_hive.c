/* Lists the keys and values of a hive: list_hive FILE
 *
 *   cc list_hive.c -lhivequarry -o list_hive
 */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "hivequarry.h"

/* A text of any length; for free(). */
static char* path_of(const hq_hive* hive, hq_key key) {
  const size_t length = hq_key_path(hive, key, NULL, 0);
  char* text = malloc(length + 1);
  if (text != NULL) hq_key_path(hive, key, text, length + 1);
  return text;
}

static void list_values(hq_hive* hive, hq_key key, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    hq_value_info value;
    char name[256];
    if (!hq_value_info_of(hive, key, i, &value)) return;
    hq_value_name(hive, key, i, name, sizeof name);
    printf("    %s: type %" PRIu32 ", %" PRIu32 " bytes%s\n", name[0] == 0 ? "(default)" : name,
           value.type, value.size, value.readable ? "" : ", lost");
  }
}

static int print_fault(void* context, const hq_finding* finding) {
  (void)context;
  if (finding->level == 2) {
    printf("fault %s at 0x%08" PRIX64 ": %s\n", finding->code, finding->position, finding->what);
  }
  return 1;
}

int main(int argc, char** argv) {
  hq_hive* hive = NULL;
  if (argc != 2) {
    fprintf(stderr, "list_hive FILE\n");
    return 2;
  }
  const hq_status status = hq_open(argv[1], HQ_LOGS_AUTO, &hive);
  if (status != HQ_OK) {
    fprintf(stderr, "%s can't be opened (%d)\n", argv[1], (int)status);
    return 1;
  }
  char notices[1024];
  if (hq_notices(hive, notices, sizeof notices) != 0) fputs(notices, stderr);
  for (hq_key key = 0; key < hq_key_count(hive); ++key) {
    hq_key_info info;
    char* path = path_of(hive, key);
    if (path == NULL || !hq_key_info_of(hive, key, &info)) {
      free(path);
      break;
    }
    printf("%s%s\n", path, (info.flags & HQ_KEY_RECOVERED) != 0 ? "  [recovered]" : "");
    list_values(hive, key, info.values);
    free(path);
  }
  hq_check(hive, print_fault, NULL);
  hq_close(hive);
  return 0;
}

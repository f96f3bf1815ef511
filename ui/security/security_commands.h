// Commands about security records: their lists, the keys that use them, their texts.
#pragma once

namespace hivequarry {

struct MainWindow;
struct ListPlace;

// Each fills a list window on a worker: of the whole hive; of the selected branch; of this machine;
// of the keys with permissions that the user is asked for.
void OnListSecurityRecords(MainWindow& window);
void OnListAces(MainWindow& window);
void OnListUsedRecords(MainWindow& window);
void OnListKeyOwners(MainWindow& window);
void OnListRecordKeys(MainWindow& window);
void OnListLocalGroups(MainWindow& window);
void OnFindKeysWithPermissions(MainWindow& window);
// The keys where an account may write, which the user is asked for.
void OnWhoMayWrite(MainWindow& window);
// Changes how lists show a SID, and nothing in the hive.
void OnReplaceSid(MainWindow& window);

// Of the selected key.
void OnSecurityRecord(MainWindow& window);
void OnKeysOfKeysRecord(MainWindow& window);
void OnKeysOfKeysOwner(MainWindow& window);

// Of the row in focus.
void OnKeysOfRowsRecord(ListPlace& place);
void OnKeysOfRowsOwner(ListPlace& place);
void OnKeysOfRowsAce(ListPlace& place);
void OnRowsSecurityRecord(ListPlace& place);

}  // namespace hivequarry

// Commands about security records: their lists, the keys that use them, their texts.
#pragma once

namespace hivequarry {

struct MainWindow;
struct ListPlace;

void OnListSecurityRecords(MainWindow& window);
void OnListAces(MainWindow& window);
void OnListUsedRecords(MainWindow& window);
void OnListKeyOwners(MainWindow& window);
void OnListRecordKeys(MainWindow& window);
void OnListLocalGroups(MainWindow& window);
void OnFindKeysWithPermissions(MainWindow& window);
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

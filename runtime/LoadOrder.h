// The order in which the library's static objects are built when it is loaded. They stand in
// several source files, so the order is stated here instead of being left to the link line;
// they are destroyed in reverse order at unload.
#pragma once

// Works for objects at namespace scope and for static data members; 101 is the first free value.
#define KTR_LOAD_ORDER(step) __attribute__((init_priority(101 + (step))))

#define KTR_LOAD_STRINGS KTR_LOAD_ORDER(0)       // KTString::EmptyString, KTTimeValue::Unlimited
#define KTR_LOAD_MYSQL_MUTEX KTR_LOAD_ORDER(1)   // KTR_MYSQL_api::_staticMysqlMux
#define KTR_LOAD_TABLE_NAMES KTR_LOAD_ORDER(2)   // KTR_DBTable::KTR_TableName
#define KTR_LOAD_TABLE_FIELDS KTR_LOAD_ORDER(3)  // KTR_DBTable::KTR_TableFields
#define KTR_LOAD_SYNC_MARKERS KTR_LOAD_ORDER(4)  // NULL_FLAG, then NEW_FILE_FLAG

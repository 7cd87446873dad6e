# Finds the MariaDB (or MySQL) client library: through pkg-config where it knows it, by searching
# otherwise. Used by this tree and installed with its package, whose users need the library too.
#
#   MariaDBClient_FOUND, MariaDBClient_VERSION, and the target MariaDB::Client
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_search_module(PC_MariaDBClient QUIET libmariadb mariadb mysqlclient)
endif()

find_path(MariaDBClient_INCLUDE_DIR mysql.h
  HINTS ${PC_MariaDBClient_INCLUDE_DIRS} PATH_SUFFIXES mariadb mysql)
find_library(MariaDBClient_LIBRARY NAMES mariadb mysqlclient
  HINTS ${PC_MariaDBClient_LIBRARY_DIRS} PATH_SUFFIXES mariadb mysql)
mark_as_advanced(MariaDBClient_INCLUDE_DIR MariaDBClient_LIBRARY)
set(MariaDBClient_VERSION ${PC_MariaDBClient_VERSION})

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MariaDBClient
  REQUIRED_VARS MariaDBClient_LIBRARY MariaDBClient_INCLUDE_DIR
  VERSION_VAR MariaDBClient_VERSION)

if(MariaDBClient_FOUND AND NOT TARGET MariaDB::Client)
  add_library(MariaDB::Client UNKNOWN IMPORTED)
  set_target_properties(MariaDB::Client PROPERTIES
    IMPORTED_LOCATION ${MariaDBClient_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${MariaDBClient_INCLUDE_DIR})
endif()

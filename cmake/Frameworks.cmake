# The frameworks folders, beside the toolbox's library: where toolbox/Folders.h says that they are. A framework is built
# into MIRTAL_FRAMEWORKS_BUILD_DIR.

set(MIRTAL_FRAMEWORKS_BUILD_DIR ${PROJECT_BINARY_DIR}/lib/mirtal/Frameworks)
set(MIRTAL_PRIVATE_FRAMEWORKS_BUILD_DIR ${PROJECT_BINARY_DIR}/lib/mirtal/PrivateFrameworks)

# They are there, empty or not: who asks for one may not be allowed to make it in an installed tree.
file(MAKE_DIRECTORY ${MIRTAL_FRAMEWORKS_BUILD_DIR} ${MIRTAL_PRIVATE_FRAMEWORKS_BUILD_DIR})

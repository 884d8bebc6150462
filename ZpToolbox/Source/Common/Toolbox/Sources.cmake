# The exported vocabulary of feature codes and the toolbox utilities.
include(${CMAKE_CURRENT_LIST_DIR}/FeatureCodes.cmake)

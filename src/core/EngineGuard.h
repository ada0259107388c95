#pragma once
// Forced into every engine source: the engine must never see QtGui or QtWidgets.
// Their headers define these export macros, so an include fails right there.
#pragma GCC poison Q_GUI_EXPORT Q_WIDGETS_EXPORT

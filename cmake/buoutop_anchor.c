/* libbuoutop.so is assembled from the subsystem libraries linked whole;
 * this unit only gives the shared library target a source of its own. */
typedef int bu_anchor_unused;

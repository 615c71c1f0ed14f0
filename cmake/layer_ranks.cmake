# bu_layer_ranks(<layers variable> <parts variable>): sets rank_<part> to the
# layer's number (0 for the lowest) for every part of a list of layers in the
# form of BU_LAYERS (lowest first; the parts of one layer separated by
# spaces), and appends the parts to <parts variable>. A macro, so that the
# ranks are set where it is called; shared by the two halves of the layer
# check.
macro(bu_layer_ranks layers parts_out)
    set(_bu_rank 0)
    foreach(_bu_layer IN LISTS ${layers})
        string(REPLACE " " ";" _bu_parts "${_bu_layer}")
        foreach(_bu_part IN LISTS _bu_parts)
            set(rank_${_bu_part} ${_bu_rank})
            list(APPEND ${parts_out} ${_bu_part})
        endforeach()
        math(EXPR _bu_rank "${_bu_rank} + 1")
    endforeach()
endmacro()

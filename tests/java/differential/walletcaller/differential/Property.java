package walletcaller.differential;

import java.util.List;
import java.util.stream.Stream;

/** The four credential properties of a job, in the order in which they are expanded. */
enum Property {
    INPUT_USER_NAME(Side.INPUT, "OrvantaUserName"),
    INPUT_PASSWORD(Side.INPUT, "OrvantaPassword"),
    OUTPUT_USER_NAME(Side.OUTPUT, "OrvantaUserName"),
    OUTPUT_PASSWORD(Side.OUTPUT, "OrvantaPassword");

    final Side side;
    final String label;

    Property(Side side, String suffix) {
        this.side = side;
        this.label = side.label + suffix;
    }

    static List<Property> of(Side side) {
        return Stream.of(values()).filter(property -> property.side == side).toList();
    }
}

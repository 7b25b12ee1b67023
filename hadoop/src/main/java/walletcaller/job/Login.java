package walletcaller.job;

import java.nio.charset.StandardCharsets;

/** What one side of a job logs in with; user name and password may hold wallet references. */
public final class Login {
    final String url;
    final byte[] userName;
    final byte[] password;

    public Login(String url, String userName, String password) {
        this(url, userName.getBytes(StandardCharsets.UTF_8),
                password.getBytes(StandardCharsets.UTF_8));
    }

    public Login(String url, byte[] userName, byte[] password) {
        this.url = url;
        this.userName = userName;
        this.password = password;
    }
}

<!-- Commands of the Vulkan registry with their C prototypes, by the feature or extension that requires them. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="xml" encoding="UTF-8" omit-xml-declaration="yes"/>
  <xsl:key name="command" match="registry/commands/command[proto]" use="proto/name"/>
  <xsl:key name="type" match="registry/types/type" use="name|@name"/>

  <xsl:template match="/registry">
    <report commands="{count(commands/command)}" types="{count(types/type)}">
      <xsl:apply-templates select="feature|extensions/extension[@supported != 'disabled']">
        <xsl:sort select="@number" data-type="number"/>
      </xsl:apply-templates>
    </report>
  </xsl:template>

  <xsl:template match="feature|extension">
    <section name="{@name}">
      <xsl:for-each select="require/command">
        <xsl:sort select="@name"/>
        <xsl:apply-templates select="key('command', @name)"/>
      </xsl:for-each>
      <xsl:for-each select="require/type">
        <type name="{@name}" members="{count(key('type', @name)/member)}"/>
      </xsl:for-each>
    </section>
  </xsl:template>

  <xsl:template match="command">
    <command>
      <xsl:value-of select="normalize-space(proto)"/>
      <xsl:text>(</xsl:text>
      <xsl:for-each select="param">
        <xsl:if test="position() != 1">, </xsl:if>
        <xsl:value-of select="normalize-space(.)"/>
      </xsl:for-each>
      <xsl:text>)</xsl:text>
    </command>
  </xsl:template>
</xsl:stylesheet>
